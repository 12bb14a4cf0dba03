#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnPlatform/base/Limits.h"
#include "QuarnSystem/BundleInfo.h"
#include "tests/support/MacVolume.h"

namespace quarn::bundle_info_tests {
namespace {

const FileURL kBundle("/Applications/Phone.app");

PlistDictionary identified(const std::string& identifier) { return {{"CFBundleIdentifier", identifier}}; }

BundleInfo read(const MacVolume& volume) { return readBundleInfo(volume.files(), kBundle); }

TEST(BundleInfo, ReadsEachEntry) {
  MacVolume volume;
  volume.app("/Applications/Phone.app", {.bundleIdentifier = "com.example.Phone",
                                         .name = "Phone",
                                         .displayName = "The Phone",
                                         .version = "3.0",
                                         .executable = "phone"});
  const BundleInfo info = read(volume);
  EXPECT_EQ(info.bundle, kBundle);
  EXPECT_EQ(info.identifier, "com.example.Phone");
  EXPECT_EQ(info.displayName, "The Phone");
  EXPECT_EQ(info.name, "Phone");
  EXPECT_EQ(info.executable, "phone");
  EXPECT_EQ(info.version, "3.0");
}

TEST(BundleInfo, EachLayoutHasItsPlaceAndTheEarlierOneWins) {
  // In order of precedence, each with its bundle.
  const std::vector<std::pair<std::string, std::string>> places{
      {"Contents/Info.plist", "/Applications/Phone.app"},
      {"Linked/Real.app/Info.plist", "/Applications/Phone.app/Linked/Real.app"},
      {"Wrapper/Real.app/Info.plist", "/Applications/Phone.app/Wrapper/Real.app"},
      {"Resources/Info.plist", "/Applications/Phone.app"},
      {"Support Files/Info.plist", "/Applications/Phone.app"},
      {"Info.plist", "/Applications/Phone.app"},
  };
  MacVolume volume;
  volume.folder(kBundle.path()).link(kBundle.path() + "/WrappedBundle", "Linked/Real.app");
  for (const auto& [place, bundle] : places) volume.plist(kBundle.path() + "/" + place, identified(place));
  for (const auto& [place, bundle] : places) {
    EXPECT_EQ(read(volume).identifier, place);
    EXPECT_EQ(read(volume).bundle.path(), bundle);
    volume.remove(kBundle.path() + "/" + place);
  }
  EXPECT_EQ(read(volume).identifier, std::nullopt);
  EXPECT_EQ(read(volume).bundle, kBundle);
}

TEST(BundleInfo, AnIPhoneAppIsReadThroughItsWrapper) {
  MacVolume volume;
  volume.plist("/Applications/Phone.app/Wrapper/Runner.app/Info.plist", identified("com.example.phone"))
      .link("/Applications/Phone.app/WrappedBundle", "Wrapper/Runner.app");
  EXPECT_EQ(read(volume).identifier, "com.example.phone");
  EXPECT_EQ(read(volume).bundle.path(), "/Applications/Phone.app/Wrapper/Runner.app");
}

TEST(BundleInfo, WithoutTheLinkTheFirstWrappedAppThatHasAnInfoCounts) {
  MacVolume volume;
  volume.folder("/Applications/Phone.app/Wrapper/A.app")
      .plist("/Applications/Phone.app/Wrapper/B.txt/Info.plist", identified("text"))
      .plist("/Applications/Phone.app/Wrapper/C.APP/Info.plist", identified("c"))
      .plist("/Applications/Phone.app/Wrapper/D.app/Info.plist", identified("d"))
      .link("/Applications/Phone.app/WrappedBundle", "Wrapper/Gone.app");
  EXPECT_EQ(read(volume).identifier, "c");
}

TEST(BundleInfo, AMalformedInfoIsNotReplacedByALaterPlace) {
  MacVolume volume;
  volume.text("/Applications/Phone.app/Contents/Info.plist", "garbage")
      .plist("/Applications/Phone.app/Info.plist", identified("flat"));
  EXPECT_EQ(read(volume).identifier, std::nullopt);
}

TEST(BundleInfo, AnEndlessTextIsDamageAndTheOthersAreRead) {
  MacVolume volume;
  volume.app("/Applications/Phone.app", {.bundleIdentifier = std::string(limits::kNameBytes + 1, 'i'),
                                         .name = std::string(limits::kNameBytes, 'n')});
  const BundleInfo info = read(volume);
  EXPECT_EQ(info.identifier, std::nullopt);
  EXPECT_EQ(info.name, std::string(limits::kNameBytes, 'n'));
}

TEST(BundleInfo, AFileInPlaceOfALayoutsFolderSelectsAnotherLayout) {
  MacVolume volume;
  volume.file("/Applications/Phone.app/Contents", 3)
      .file("/Applications/Phone.app/Wrapper")
      .plist("/Applications/Phone.app/Info.plist", identified("flat"));
  EXPECT_EQ(read(volume).identifier, "flat");
}

TEST(BundleInfo, ADanglingInfoIsMissing) {
  MacVolume volume;
  volume.folder("/Applications/Phone.app/Contents")
      .link("/Applications/Phone.app/Contents/Info.plist", "nowhere")
      .plist("/Applications/Phone.app/Info.plist", identified("flat"));
  EXPECT_EQ(read(volume).identifier, "flat");
}

TEST(BundleInfo, TheMacOSFileComesFirst) {
  MacVolume volume;
  volume.plist("/Applications/Phone.app/Contents/Info.plist", identified("any"))
      .plist("/Applications/Phone.app/Contents/Info-macos.plist", identified("mac"));
  EXPECT_EQ(read(volume).identifier, "mac");
}

TEST(BundleInfo, TheFileNameIgnoresCaseAndTheFirstByBytesWins) {
  const std::string contents = "/Applications/Phone.app/Contents/";
  const std::vector<std::string> ascending{"INFO.plist", "INfo.plist", "InFo.plist",
                                           "iNFO.plist", "infO.plist", "info.PLIST"};
  MacVolume volume;
  for (const std::string& name : ascending) volume.plist(contents + name, identified(name));
  for (const std::string& name : ascending) {
    EXPECT_EQ(read(volume).identifier, name);
    volume.remove(contents + name);
  }
}

TEST(BundleInfo, TheExactNameComesBeforeOtherLetterCases) {
  MacVolume volume;
  volume.plist("/Applications/Phone.app/Contents/INFO.plist", identified("other"))
      .plist("/Applications/Phone.app/Contents/Info.plist", identified("exact"));
  EXPECT_EQ(read(volume).identifier, "exact");
}

TEST(BundleInfo, AFileOfTheLargestSizeIsReadAndAByteMoreIsNot) {
  const std::string head = "<plist><dict><key>CFBundleIdentifier</key><string>big</string></dict></plist>";
  constexpr std::size_t kLargest = 8U << 20U;
  MacVolume volume;
  volume.text("/Applications/Phone.app/Contents/Info.plist", head + std::string(kLargest - head.size(), ' '));
  EXPECT_EQ(read(volume).identifier, "big");
  volume.text("/Applications/Phone.app/Contents/Info.plist", head + std::string(kLargest + 1 - head.size(), ' '));
  EXPECT_EQ(read(volume).identifier, std::nullopt);
}

}  // namespace
}  // namespace quarn::bundle_info_tests
