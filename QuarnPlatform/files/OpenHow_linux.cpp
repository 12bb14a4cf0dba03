#include "QuarnPlatform/files/OpenHow_linux.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace quarn {
namespace {

constexpr int kLook = O_PATH | O_CLOEXEC;
constexpr int kRead = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
constexpr int kList = O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC;
constexpr std::uint64_t kInRoot = RESOLVE_IN_ROOT | RESOLVE_NO_MAGICLINKS;
constexpr std::uint64_t kInFolder = RESOLVE_NO_XDEV | RESOLVE_NO_SYMLINKS;

constexpr open_how how(int flags, std::uint64_t rules) {
  return {.flags = static_cast<std::uint64_t>(flags), .mode = 0, .resolve = rules};
}

// Aligned so that all are in one page, and in addresses that differ in their lower halves only.
constexpr std::size_t kAlignment = 512;
alignas(kAlignment) constexpr std::array kOpenHows{
    how(kList | O_NOFOLLOW | O_NOATIME, kInFolder),
    how(kList | O_NOFOLLOW, kInFolder),
    how(kLook, kInRoot),
    how(kLook | O_NOFOLLOW, kInRoot),
    how(kLook, kInRoot | RESOLVE_NO_SYMLINKS),
    how(kList | O_NOATIME, kInRoot),
    how(kList, kInRoot),
    how(kList | O_NOFOLLOW | O_NOATIME, kInRoot),
    how(kList | O_NOFOLLOW, kInRoot),
    how(kRead | O_NOATIME, kInRoot),
    how(kRead, kInRoot),
};
static_assert(sizeof kOpenHows <= kAlignment);

// The oldest supported headers lack it; the number is the same for all processors.
constexpr long kSealCall = 462;

}  // namespace

std::span<const open_how> openHows() { return kOpenHows; }

bool sealOpenHows() {
  const auto page = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
  // The address is an integer to the call: it seals whole pages.
  const auto start = reinterpret_cast<std::uintptr_t>(kOpenHows.data()) / page * page;
  return ::syscall(kSealCall, start, page, 0) == 0;
}

int openWithHow(int folder, const char* path, int flags, std::uint64_t rules) {
  const auto* found = std::find_if(kOpenHows.begin(), kOpenHows.end(), [&](const open_how& candidate) {
    return candidate.flags == static_cast<std::uint64_t>(flags) && candidate.resolve == rules;
  });
  if (found == kOpenHows.end()) {
    errno = EINVAL;
    return -1;
  }
  return static_cast<int>(::syscall(SYS_openat2, folder, path, found, sizeof *found));
}

}  // namespace quarn
