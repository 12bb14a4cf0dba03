#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include <sys/attr.h>
#include <unistd.h>

#include "QuarnPlatform/files/Packages.h"

namespace quarn {
namespace {

constexpr std::size_t kFinderInfoSize = 32;
constexpr std::size_t kFlagsOffset = 8;
constexpr unsigned char kBundleBitInFirstByte = 0x20;  // 0x2000 of the big-endian flags

}  // namespace

// A folder without the attribute gives 32 zeros.
BundleBit bundleBit(int folderDescriptor) {
  attrlist wanted{};
  wanted.bitmapcount = ATTR_BIT_MAP_COUNT;
  wanted.commonattr = ATTR_CMN_FNDRINFO;
  std::array<unsigned char, sizeof(std::uint32_t) + kFinderInfoSize> record{};
  if (::fgetattrlist(folderDescriptor, &wanted, record.data(), record.size(), 0) != 0) {
    return {.error = errno == ENOTSUP ? 0 : errno};
  }
  std::uint32_t length = 0;
  std::memcpy(&length, record.data(), sizeof length);
  return {.isSet = length == record.size() && (record[sizeof length + kFlagsOffset] & kBundleBitInFirstByte) != 0};
}

}  // namespace quarn
