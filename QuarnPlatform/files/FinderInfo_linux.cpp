#include <array>
#include <cerrno>
#include <cstddef>
#include <string_view>

#include <sys/types.h>
#include <sys/xattr.h>

#include "QuarnPlatform/files/Packages.h"

namespace quarn {
namespace {

constexpr std::size_t kFinderInfoSize = 32;
constexpr std::size_t kFlagsOffset = 8;
constexpr unsigned char kBundleBitInFirstByte = 0x20;  // 0x2000 of the big-endian flags
constexpr std::size_t kUsualListSize = 1024;

// The attribute's names in drivers for Mac file systems, and in tools that copy attributes to other file systems.
constexpr std::array<const char*, 3> kAttributeNames{"osx.com.apple.FinderInfo", "com.apple.FinderInfo",
                                                     "user.com.apple.FinderInfo"};

bool lists(std::string_view list, std::string_view name) {
  for (std::size_t at = 0; at < list.size();) {
    const std::string_view listed = list.substr(at, list.find('\0', at) - at);
    if (listed == name) return true;
    at += listed.size() + 1;
  }
  return false;
}

// There is no such attribute, the file system has no attributes, or this one has another length.
bool meansNoFinderInfo(int error) { return error == ENODATA || error == ENOTSUP || error == ERANGE; }

BundleBit bundleBit(int folder, const char* attribute) {
  std::array<unsigned char, kFinderInfoSize> info{};
  const ssize_t size = ::fgetxattr(folder, attribute, info.data(), info.size());
  if (size < 0) return {.error = meansNoFinderInfo(errno) ? 0 : errno};
  return {.isSet = size == static_cast<ssize_t>(info.size()) && (info[kFlagsOffset] & kBundleBitInFirstByte) != 0};
}

}  // namespace

// Most folders have no attributes, so the length of their list decides with one call, without a buffer that the kernel
// would allocate. If the list is long or unavailable, query the three names directly; this is cheaper than reading the
// list.
BundleBit bundleBit(int folderDescriptor) {
  ssize_t size = ::flistxattr(folderDescriptor, nullptr, 0);
  if (size == 0 || (size < 0 && errno == ENOTSUP)) return {};
  std::array<char, kUsualListSize> buffer{};
  if (size > 0) size = ::flistxattr(folderDescriptor, buffer.data(), buffer.size());
  const std::string_view list(buffer.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
  BundleBit found;
  for (const char* name : kAttributeNames) {
    if (size > 0 && !lists(list, name)) continue;
    const BundleBit bit = bundleBit(folderDescriptor, name);
    if (bit.isSet) return bit;
    if (bit.error != 0) found.error = bit.error;
  }
  return found;
}

}  // namespace quarn
