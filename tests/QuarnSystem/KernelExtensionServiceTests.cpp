#include <cerrno>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnSystem/KernelExtensionService.h"
#include "tests/support/MacVolume.h"

namespace quarn::kernel_extension_service_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

KernelExtensionService service(const MacVolume& volume) {
  return KernelExtensionService::live(volume.files(), FileSizeCalculator::live(volume.files()));
}

std::vector<std::string> paths(const MacVolume& volume, bool includeMacOS) {
  std::vector<std::string> result;
  for (const KernelExtensionInfo& extension : service(volume).installedKernelExtensions(includeMacOS)) {
    result.push_back(extension.url.path());
  }
  return result;
}

void addExtension(MacVolume& volume, const std::string& path, const PlistDictionary& info) {
  volume.plist(path + "/Contents/Info.plist", info);
}

TEST(KernelExtensionService, AnExtensionIsACompleteRecord) {
  MacVolume volume;
  addExtension(volume, "/Library/Extensions/Driver.kext",
               {{"CFBundleIdentifier", "com.example.driver"}, {"CFBundleName", "Example"}, {"CFBundleVersion", "1.0"}});
  volume.file("/Library/Extensions/Driver.kext/Contents/MacOS/Driver", 8_KiB)
      .file("/Library/Extensions/Driver.kext/Contents/.hidden", 64_KiB);
  const SizeInfo size =
      FileSizeCalculator::live(volume.files()).itemSize(FileURL("/Library/Extensions/Driver.kext"), true, false);
  EXPECT_GE(size.logicalBytes, 8_KiB);
  EXPECT_LT(size.logicalBytes, 64_KiB);
  EXPECT_THAT(service(volume).installedKernelExtensions(false),
              ElementsAre(KernelExtensionInfo{.name = "Example",
                                              .bundleIdentifier = "com.example.driver",
                                              .url = FileURL("/Library/Extensions/Driver.kext"),
                                              .version = "1.0",
                                              .size = size}));
  EXPECT_TRUE(service(volume).installedKernelExtensions(false)[0].url.hasDirectoryPath());
}

TEST(KernelExtensionService, TheSystemFolderIsListedLastAndOnlyOnRequest) {
  MacVolume volume;
  addExtension(volume, "/System/Library/Extensions/A.kext", {{"CFBundleIdentifier", "com.other.a"}});
  addExtension(volume, "/Library/Extensions/B.kext", {{"CFBundleIdentifier", "com.example.b"}});
  addExtension(volume, "/Library/Extensions/C.kext", {{"CFBundleIdentifier", "com.apple.c"}});
  EXPECT_THAT(paths(volume, false), ElementsAre("/Library/Extensions/B.kext"));
  EXPECT_THAT(paths(volume, true), ElementsAre("/Library/Extensions/B.kext", "/Library/Extensions/C.kext",
                                               "/System/Library/Extensions/A.kext"));
}

TEST(KernelExtensionService, OnlyTheWholeIdentifierPrefixMarksASystemExtension) {
  MacVolume volume;
  addExtension(volume, "/Library/Extensions/A.kext", {{"CFBundleIdentifier", "com.applesauce.a"}});
  addExtension(volume, "/Library/Extensions/B.kext", {{"CFBundleIdentifier", "com.apple"}});
  addExtension(volume, "/Library/Extensions/C.kext", {{"CFBundleIdentifier", "Com.Apple.c"}});
  addExtension(volume, "/Library/Extensions/D.kext", {{"CFBundleIdentifier", "com.apple."}});
  addExtension(volume, "/Library/Extensions/E.kext", {});
  EXPECT_THAT(paths(volume, false), ElementsAre("/Library/Extensions/A.kext", "/Library/Extensions/B.kext",
                                                "/Library/Extensions/C.kext", "/Library/Extensions/E.kext"));
}

TEST(KernelExtensionService, PlugInsFollowTheirExtensionOneLevelDeepAndNamesAscend) {
  MacVolume volume;
  const std::string outer = "/Library/Extensions/b.kext/Contents/PlugIns/";
  addExtension(volume, "/Library/Extensions/b.kext", {});
  addExtension(volume, outer + "z.kext", {});
  addExtension(volume, outer + "a.kext", {});
  addExtension(volume, outer + "a.kext/Contents/PlugIns/deep.kext", {});
  addExtension(volume, "/Library/Extensions/c.kext", {});
  addExtension(volume, "/Library/Extensions/A.kext", {});
  EXPECT_THAT(paths(volume, false), ElementsAre("/Library/Extensions/A.kext", "/Library/Extensions/b.kext",
                                                outer + "a.kext", outer + "z.kext", "/Library/Extensions/c.kext"));
}

TEST(KernelExtensionService, APlugInIsJudgedByItsOwnIdentifier) {
  MacVolume volume;
  addExtension(volume, "/Library/Extensions/A.kext", {{"CFBundleIdentifier", "com.apple.a"}});
  addExtension(volume, "/Library/Extensions/A.kext/Contents/PlugIns/Own.kext", {{"CFBundleIdentifier", "com.apple.o"}});
  addExtension(volume, "/Library/Extensions/A.kext/Contents/PlugIns/Third.kext", {{"CFBundleIdentifier", "com.x.t"}});
  EXPECT_THAT(paths(volume, false), ElementsAre("/Library/Extensions/A.kext/Contents/PlugIns/Third.kext"));
}

TEST(KernelExtensionService, TheNameIsTheBundleNameElseTheStem) {
  MacVolume volume;
  addExtension(volume, "/Library/Extensions/A.kext", {{"CFBundleName", "Named"}, {"CFBundleDisplayName", "Shown"}});
  addExtension(volume, "/Library/Extensions/B.kext", {{"CFBundleName", ""}});
  addExtension(volume, "/Library/Extensions/C.kext", {{"CFBundleName", 3}});
  volume.folder("/Library/Extensions/D.kext");
  std::vector<std::string> names;
  for (const auto& extension : service(volume).installedKernelExtensions(false)) names.push_back(extension.name);
  EXPECT_THAT(names, ElementsAre("Named", "B", "C", "D"));
}

TEST(KernelExtensionService, AnOldFlatExtensionIsRead) {
  MacVolume volume;
  volume.plist("/Library/Extensions/Old.kext/Info.plist", {{"CFBundleIdentifier", "com.example.old"}});
  ASSERT_THAT(service(volume).installedKernelExtensions(false), SizeIs(1));
  EXPECT_EQ(service(volume).installedKernelExtensions(false)[0].bundleIdentifier, "com.example.old");
}

TEST(KernelExtensionService, OnlyFoldersWithTheExtensionAreListed) {
  MacVolume volume;
  volume.file("/Library/Extensions/File.kext", 10)
      .folder("/Library/Extensions/Other.bundle")
      .folder("/Library/Extensions/UPPER.KEXT")
      .folder("/opt/Linked.kext")
      .link("/Library/Extensions/Linked.kext", "/opt/Linked.kext")
      .folder("/Library/StagedExtensions/Library/Extensions/Copy.kext");
  EXPECT_THAT(paths(volume, true), ElementsAre("/Library/Extensions/UPPER.KEXT"));
}

TEST(KernelExtensionService, WithoutFoldersNothingIsInstalled) {
  const MacVolume volume;
  EXPECT_THAT(paths(volume, true), IsEmpty());
}

TEST(KernelExtensionService, AMalformedInfoOrAMissingSizeKeepsTheExtension) {
  MacVolume volume;
  volume.text("/Library/Extensions/A.kext/Contents/Info.plist", "garbage")
      .fifo("/Library/Extensions/B.kext/Contents/Info.plist")
      .sparse("/Library/Extensions/C.kext/Contents/Info.plist", std::int64_t{2} << 30);
  FileSizeCalculator sizes = FileSizeCalculator::live(volume.files());
  sizes.itemSizeExcluding = [](const FileURL& at, const std::vector<FileURL>&, bool, bool) -> SizeInfo {
    throw FileError(EACCES, "list", at.path());
  };
  const auto found = KernelExtensionService::live(volume.files(), sizes).installedKernelExtensions(false);
  ASSERT_THAT(found, SizeIs(3));
  for (const KernelExtensionInfo& extension : found) {
    EXPECT_EQ(extension.bundleIdentifier, std::nullopt);
    EXPECT_EQ(extension.size, std::nullopt);
  }
}

TEST(KernelExtensionService, SkippedExtensionsAreNotSized) {
  MacVolume volume;
  addExtension(volume, "/Library/Extensions/A.kext", {{"CFBundleIdentifier", "com.apple.a"}});
  std::vector<std::string> sized;
  FileSizeCalculator sizes = FileSizeCalculator::live(volume.files());
  sizes.itemSizeExcluding = [&](const FileURL& at, const std::vector<FileURL>&, bool, bool) {
    sized.push_back(at.path());
    return SizeInfo{};
  };
  const KernelExtensionService extensions = KernelExtensionService::live(volume.files(), sizes);
  EXPECT_THAT(extensions.installedKernelExtensions(false), IsEmpty());
  EXPECT_THAT(sized, IsEmpty());
  EXPECT_THAT(extensions.installedKernelExtensions(true), SizeIs(1));
  EXPECT_THAT(sized, ElementsAre("/Library/Extensions/A.kext"));
}

TEST(KernelExtensionService, ASnapshotReadsEachListOnceOnFirstUse) {
  MacVolume volume;
  const KernelExtensionService snapshot =
      KernelExtensionService::snapshot(volume.files(), FileSizeCalculator::live(volume.files()));
  addExtension(volume, "/Library/Extensions/A.kext", {{"CFBundleIdentifier", "com.example.a"}});
  const std::vector<KernelExtensionInfo> others = snapshot.installedKernelExtensions(false);
  EXPECT_THAT(others, SizeIs(1));
  EXPECT_EQ(others, service(volume).installedKernelExtensions(false));
  addExtension(volume, "/System/Library/Extensions/B.kext", {{"CFBundleIdentifier", "com.apple.b"}});
  addExtension(volume, "/Library/Extensions/C.kext", {{"CFBundleIdentifier", "com.example.c"}});
  EXPECT_EQ(snapshot.installedKernelExtensions(false), others);
  EXPECT_THAT(snapshot.installedKernelExtensions(true), SizeIs(3));
}

}  // namespace
}  // namespace quarn::kernel_extension_service_tests
