#include <array>

#include <gtest/gtest.h>
#include <sys/xattr.h>

#include "tests/support/MacVolume.h"

namespace quarn::mac_volume_tests_linux {
namespace {

// Attributes have other names and other calls on macOS; what they do there is tested by what the library reads.
TEST(MacVolume, AttributesAreSet) {
  MacVolume volume;
  volume.folder("~/b").bundleBit("~/b");
  std::array<char, 64> info{};
  EXPECT_EQ(::getxattr(volume.host("~/b").c_str(), "user.com.apple.FinderInfo", info.data(), info.size()), 32);
  EXPECT_EQ(info[8], '\x20');
}

}  // namespace
}  // namespace quarn::mac_volume_tests_linux
