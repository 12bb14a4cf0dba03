#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>

#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/landlock.h>
#include <linux/sched.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "QuarnPlatform/base/FileDescriptor.h"
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

std::uint64_t handledAccess(long version) {
  return kFirstVersion | (version >= 2 ? kRefer : 0) | (version >= 3 ? kTruncate : 0);
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

bool confineFiles(const SandboxRules& rules) {
  const long version = ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
  if (version < 1) return false;
  const std::uint64_t handled = handledAccess(version);
  const landlock_ruleset_attr attributes{.handled_access_fs = handled};
  const FileDescriptor ruleset(
      static_cast<int>(::syscall(SYS_landlock_create_ruleset, &attributes, sizeof attributes, 0)));
  if (!ruleset.isOpen()) return false;
  allow(ruleset.get(), rules.readable, kRead & handled);
  allow(ruleset.get(), rules.writable, kWrite & handled);
  return ::syscall(SYS_landlock_restrict_self, ruleset.get(), 0) == 0;
}

#if defined(__x86_64__)
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_X86_64;
constexpr std::uint32_t kFirstForeignCall = 0x40000000;  // of the 32-bit form
#elif defined(__aarch64__)
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_AARCH64;
constexpr std::uint32_t kFirstForeignCall = 0xFFFFFFFF;
#else
constexpr std::uint32_t kArchitecture = 0;
constexpr std::uint32_t kFirstForeignCall = 0;
#endif

// Calls that the command never makes: other programs, the network, other processes, the system's settings, and changes
// to files. Allowed are only the calls that create, rename and remove the file that the command writes.
constexpr std::array kRefusedCalls {
  SYS_execve, SYS_execveat, SYS_ptrace, SYS_process_vm_readv, SYS_process_vm_writev, SYS_socket, SYS_socketpair,
      SYS_connect, SYS_bind, SYS_listen, SYS_accept4, SYS_mount, SYS_umount2, SYS_pivot_root, SYS_chroot, SYS_unshare,
      SYS_setns, SYS_bpf, SYS_perf_event_open, SYS_userfaultfd, SYS_io_uring_setup, SYS_keyctl, SYS_add_key,
      SYS_request_key, SYS_init_module, SYS_finit_module, SYS_delete_module, SYS_kexec_load, SYS_reboot,
      SYS_sethostname, SYS_setdomainname, SYS_settimeofday, SYS_clock_settime, SYS_swapon, SYS_swapoff,
      SYS_open_by_handle_at, SYS_mknodat, SYS_mkdirat, SYS_linkat, SYS_symlinkat, SYS_fchownat, SYS_fchown,
      SYS_fchmodat, SYS_utimensat, SYS_truncate, SYS_setxattr, SYS_lsetxattr, SYS_fsetxattr, SYS_removexattr,
      SYS_lremovexattr, SYS_fremovexattr, SYS_fallocate, SYS_memfd_create, SYS_setuid, SYS_setgid, SYS_setreuid,
      SYS_setresuid, SYS_setregid, SYS_setresgid, SYS_setgroups, SYS_personality, SYS_acct, SYS_quotactl,
      SYS_fanotify_init,
#if defined(__x86_64__)
      SYS_fork, SYS_vfork, SYS_mkdir, SYS_rmdir, SYS_link, SYS_symlink, SYS_mknod, SYS_chown, SYS_lchown, SYS_chmod,
      SYS_utime, SYS_utimes, SYS_futimesat, SYS_creat,
#endif
};

sock_filter statement(std::uint16_t code, std::uint32_t value) { return {code, 0, 0, value}; }
sock_filter jump(std::uint16_t code, std::uint32_t value, std::uint8_t ifTrue, std::uint8_t ifFalse) {
  return {static_cast<std::uint16_t>(BPF_JMP | BPF_K | code), ifTrue, ifFalse, value};
}
sock_filter load(std::size_t offset) { return statement(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(offset)); }
sock_filter answer(std::uint32_t value) { return statement(BPF_RET | BPF_K, value); }
sock_filter refusal(int error) { return answer(SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(error)); }

// Threads are created by clone with CLONE_THREAD. A filter cannot see the flags of clone3, so clone3 fails with ENOSYS,
// and the C library uses clone instead.
std::vector<sock_filter> filter() {
  std::vector<sock_filter> lines{load(offsetof(seccomp_data, arch)),
                                 jump(BPF_JEQ, kArchitecture, 1, 0),
                                 refusal(EPERM),
                                 load(offsetof(seccomp_data, nr)),
                                 jump(BPF_JGE, kFirstForeignCall, 0, 1),
                                 refusal(EPERM),
                                 jump(BPF_JEQ, SYS_clone3, 0, 1),
                                 refusal(ENOSYS)};
  for (const long call : kRefusedCalls) {
    lines.push_back(jump(BPF_JEQ, static_cast<std::uint32_t>(call), 0, 1));
    lines.push_back(refusal(EPERM));
  }
  lines.push_back(jump(BPF_JEQ, SYS_clone, 0, 3));
  lines.push_back(load(offsetof(seccomp_data, args)));
  lines.push_back(jump(BPF_JSET, CLONE_THREAD, 1, 0));
  lines.push_back(refusal(EPERM));
  lines.push_back(answer(SECCOMP_RET_ALLOW));
  return lines;
}

bool confineCalls() {
  if (kArchitecture == 0) return false;
  std::vector<sock_filter> lines = filter();
  const sock_fprog program{static_cast<unsigned short>(lines.size()), lines.data()};
  return ::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, 0, &program) == 0;
}

}  // namespace

SandboxState enterSandbox(const SandboxRules& rules) {
  if (kIsSanitized) return {};
  if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return {};
  const bool filesAreConfined = confineFiles(rules);
  return {.filesAreConfined = filesAreConfined, .callsAreConfined = confineCalls()};
}

}  // namespace quarn
