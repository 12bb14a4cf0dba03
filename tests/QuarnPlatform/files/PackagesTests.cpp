#include <array>
#include <cerrno>

#include <fcntl.h>
#include <gmock/gmock.h>

#include "QuarnPlatform/base/FileDescriptor.h"
#include "QuarnPlatform/files/Packages.h"
#include "tests/support/MacVolume.h"

namespace quarn::packages_tests {
namespace {

FileDescriptor openFolder(const MacVolume& volume, std::string_view path) {
  return FileDescriptor(::open(volume.host(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

std::string finderInfo(unsigned char firstFlagByte, std::size_t size = 32) {
  std::string bytes(size, '\0');
  bytes[8] = static_cast<char>(firstFlagByte);
  return bytes;
}

TEST(Packages, TheseExtensionsMakeAPackage) {
  constexpr std::array<std::string_view, 30> kExtensions{
      "app",   "appex",        "bundle",     "plugin",    "kext",          "xpc",       "prefpane", "qlgenerator",
      "saver", "mdimporter",   "wdgt",       "component", "action",        "workflow",  "rtfd",     "photoslibrary",
      "band",  "musiclibrary", "tvlibrary",  "logicx",    "imovielibrary", "fcpbundle", "pkg",      "sparsebundle",
      "mpkg",  "xcodeproj",    "playground", "scptd",     "dsym",          "docset"};
  for (const std::string_view extension : kExtensions) {
    EXPECT_TRUE(isPackageName("Some Name." + std::string(extension))) << extension;
  }
}

TEST(Packages, TheseExtensionsDoNot) {
  for (const char* name : {"A.framework", "de.lproj", "A.xcworkspace", "A.pages", "A.key", "A.numbers", "A.txt",
                           "A.apps", "A.localized", "A.photolibrary", "A.tool", "A.mlpackage"}) {
    EXPECT_FALSE(isPackageName(name)) << name;
  }
}

TEST(Packages, LetterCaseIsIgnored) {
  EXPECT_TRUE(isPackageName("Example.APP"));
  EXPECT_TRUE(isPackageName("Example.prefPane"));
  EXPECT_TRUE(isPackageName("Example.app.dSYM"));
}

TEST(Packages, OnlyTheLastExtensionCountsAndOnlyWhereItIsOne) {
  EXPECT_FALSE(isPackageName("app"));
  EXPECT_FALSE(isPackageName(".app"));
  EXPECT_FALSE(isPackageName("Example.app."));
  EXPECT_FALSE(isPackageName("Example.app.old"));
  EXPECT_FALSE(isPackageName("Example.app "));
  EXPECT_FALSE(isPackageName(""));
  EXPECT_TRUE(isPackageName("Example.old.app"));
  EXPECT_TRUE(isPackageName("\xFF.app"));
}

TEST(Packages, TheBundleBitIsReadFromFinderInfo) {
  MacVolume volume;
  volume.folder("/t/bundle").bundleBit("/t/bundle").folder("/t/plain");
  EXPECT_TRUE(bundleBit(openFolder(volume, "/t/bundle").get()).isSet);
  EXPECT_FALSE(bundleBit(openFolder(volume, "/t/plain").get()).isSet);
}

TEST(Packages, OnlyThatBitCounts) {
  constexpr unsigned char kBundle = 0x20;
  MacVolume volume;
  for (int flags = 0; flags < 256; ++flags) {
    const auto byte = static_cast<unsigned char>(flags);
    volume.folder("/t").xattr("/t", "user.com.apple.FinderInfo", finderInfo(byte));
    EXPECT_EQ(bundleBit(openFolder(volume, "/t").get()).isSet, (byte & kBundle) != 0) << flags;
  }
}

TEST(Packages, TheBitIsInTheFirstByteOfTheFlagsAndNotInTheSecond) {
  MacVolume volume;
  std::string bytes(32, '\0');
  bytes[9] = 0x20;
  bytes[7] = 0x20;
  volume.folder("/t").xattr("/t", "user.com.apple.FinderInfo", bytes);
  EXPECT_FALSE(bundleBit(openFolder(volume, "/t").get()).isSet);
}

TEST(Packages, FinderInfoOfAnotherLengthIsIgnored) {
  for (const std::size_t size : {9U, 16U, 31U, 33U, 64U}) {
    MacVolume volume;
    volume.folder("/t").xattr("/t", "user.com.apple.FinderInfo", finderInfo(0x20, size));
    EXPECT_FALSE(bundleBit(openFolder(volume, "/t").get()).isSet) << size;
  }
}

TEST(Packages, OtherAttributesDoNotHideFinderInfo) {
  MacVolume volume;
  volume.folder("/t").xattr("/t", "user.a", "x").bundleBit("/t").xattr("/t", "user.z", "x");
  volume.folder("/u").xattr("/u", "user.com.apple.FinderInfo2", finderInfo(0x20));
  EXPECT_TRUE(bundleBit(openFolder(volume, "/t").get()).isSet);
  EXPECT_FALSE(bundleBit(openFolder(volume, "/u").get()).isSet);
}

TEST(Packages, AttributesTooManyToListDoNotHideFinderInfo) {
  MacVolume volume;
  volume.folder("/t").bundleBit("/t");
  for (int i = 0; i < 12; ++i) volume.xattr("/t", "user." + std::string(150, 'a') + std::to_string(i), "");
  EXPECT_TRUE(bundleBit(openFolder(volume, "/t").get()).isSet);
}

TEST(Packages, AFolderWithoutFinderInfoHasNoError) {
  MacVolume volume;
  volume.folder("/t").xattr("/t", "user.com.apple.FinderInfo", finderInfo(0x20, 64)).folder("/u");
  EXPECT_EQ(bundleBit(openFolder(volume, "/t").get()).error, 0);
  EXPECT_EQ(bundleBit(openFolder(volume, "/u").get()).error, 0);
}

TEST(Packages, AnUnreadableFolderIsNotAPackageAndHasAnError) {
  const BundleBit bit = bundleBit(-1);
  EXPECT_FALSE(bit.isSet);
  EXPECT_EQ(bit.error, EBADF);
}

}  // namespace
}  // namespace quarn::packages_tests
