#include <cstddef>
#include <cstdint>

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/landlock.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "QuarnPlatform/base/FileDescriptor.h"
#include "QuarnPlatform/files/OpenHow_linux.h"
#include "quarn/commands/CallFilter_linux.h"
#include "quarn/commands/Sandbox.h"

// Landlock confines files, a seccomp filter confines calls. Each version of Landlock has more kinds of access. The
// kernel refuses a request for a kind that it does not have.

namespace quarn {
namespace {

// The sanitizers' search for leaks traces the process from another one.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kIsSanitized = true;
#else
constexpr bool kIsSanitized = false;
#endif

// The oldest supported headers lack these two.
constexpr std::uint64_t kRefer = std::uint64_t{1} << 13;
constexpr std::uint64_t kTruncate = std::uint64_t{1} << 14;

constexpr std::uint64_t kFirstVersion = (std::uint64_t{1} << 13) - 1;  // every kind of access of the first version
constexpr std::uint64_t kRead = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
constexpr std::uint64_t kWriteFile = LANDLOCK_ACCESS_FS_WRITE_FILE | kTruncate;
// A folder is opened to sync it.
constexpr std::uint64_t kWrite = kWriteFile | kRead | LANDLOCK_ACCESS_FS_MAKE_REG | LANDLOCK_ACCESS_FS_REMOVE_FILE;

// The kernel climbs from each item that is opened to "/", as long as a handled kind is open. So the kinds that opening
// a folder asks for are handled only where nothing else keeps the process from truncating.
std::uint64_t handledAccess(long version, bool mayTruncate) {
  const std::uint64_t handled = kFirstVersion | (version >= 2 ? kRefer : 0) | (version >= 3 ? kTruncate : 0);
  return mayTruncate ? handled : handled & ~(kTruncate | LANDLOCK_ACCESS_FS_READ_DIR);
}

void allow(int ruleset, const std::vector<std::string>& paths, std::uint64_t access) {
  for (const std::string& path : paths) {
    const FileDescriptor item(::open(path.c_str(), O_PATH | O_CLOEXEC));
    struct stat facts {};
    if (!item.isOpen() || ::fstat(item.get(), &facts) != 0) continue;
    const bool isFolder = S_ISDIR(facts.st_mode);
    constexpr std::uint64_t kOfFiles = LANDLOCK_ACCESS_FS_READ_FILE | kWriteFile;
    const landlock_path_beneath_attr rule{.allowed_access = isFolder ? access : access & kOfFiles,
                                          .parent_fd = item.get()};
    ::syscall(SYS_landlock_add_rule, ruleset, LANDLOCK_RULE_PATH_BENEATH, &rule, 0);
  }
}

bool confineFiles(const SandboxRules& rules, bool mayTruncate) {
  const long version = ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
  if (version < 1) return false;
  const std::uint64_t handled = handledAccess(version, mayTruncate);
  const landlock_ruleset_attr attributes{.handled_access_fs = handled};
  const FileDescriptor ruleset(
      static_cast<int>(::syscall(SYS_landlock_create_ruleset, &attributes, sizeof attributes, 0)));
  if (!ruleset.isOpen()) return false;
  allow(ruleset.get(), rules.readable, kRead & handled);
  allow(ruleset.get(), rules.writable, kWrite & handled);
  return ::syscall(SYS_landlock_restrict_self, ruleset.get(), 0) == 0;
}

bool confineCalls(const CallRules& rules) {
  std::vector<sock_filter> lines = callFilter(rules);
  if (lines.empty()) return false;
  const sock_fprog program{static_cast<unsigned short>(lines.size()), lines.data()};
  return ::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, 0, &program) == 0;
}

}  // namespace

// The filter comes first, because the rules for files rely on it.
SandboxState enterSandbox(const SandboxRules& rules) {
  if (kIsSanitized) return {};
  if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return {};
  const OpeningCalls opening = sealOpenHows() ? OpeningCalls::cannotTruncate : OpeningCalls::unfiltered;
  const bool callsAreConfined = confineCalls({.opening = opening, .writesFiles = !rules.writable.empty()});
  const bool mayTruncate = !callsAreConfined || opening == OpeningCalls::unfiltered;
  return {.filesAreConfined = confineFiles(rules, mayTruncate), .callsAreConfined = callsAreConfined};
}

}  // namespace quarn
