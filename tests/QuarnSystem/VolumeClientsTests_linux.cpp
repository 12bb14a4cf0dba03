#include <gmock/gmock.h>

#include "QuarnSystem/VolumeClients.h"

namespace quarn::volume_clients_tests_linux {
namespace {

bool isExternalFor(const std::string& home, const std::string& path) {
  return VolumeLocationChecker::live(FileManager::mounted("/", FileURL(home))).isExternal(FileURL(path));
}

// /dev/pts is a file system of its own.
TEST(VolumeLocationCheckerOfMounts, AMountPointInTheHomeFolderIsExternalAndSoIsWhatIsInIt) {
  EXPECT_TRUE(isExternalFor("/dev", "/dev/pts"));
  EXPECT_TRUE(isExternalFor("/dev", "/dev/pts/ptmx"));
  EXPECT_FALSE(isExternalFor("/dev", "/dev/null"));
  EXPECT_FALSE(isExternalFor("/dev", "/dev/missing"));
  EXPECT_FALSE(isExternalFor("/dev", "/dev"));
}

TEST(VolumeLocationCheckerOfMounts, AHomeFolderOnAnotherDeviceThanTheVolumeIsNotExternal) {
  EXPECT_FALSE(isExternalFor("/dev/pts", "/dev/pts"));
  EXPECT_FALSE(isExternalFor("/dev/pts", "/dev/pts/ptmx"));
}

TEST(VolumeLocationCheckerOfMounts, OutsideOfTheHomeFolderAndWithTheRootAsHomeTheDeviceSaysNothing) {
  EXPECT_FALSE(isExternalFor("/nowhere", "/dev/pts"));
  EXPECT_FALSE(isExternalFor("/usr", "/dev/pts"));
  EXPECT_FALSE(isExternalFor("/", "/dev/pts"));
}

}  // namespace
}  // namespace quarn::volume_clients_tests_linux
