#include <cerrno>
#include <memory>

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "QuarnPlatform/files/FileManager.h"
#include "QuarnPlatform/files/ProcessPolicies.h"
#include "QuarnPlatform/files/ReadReport.h"
#include "QuarnPlatform/walking/TreeSizer.h"
#include "tests/macos/emulation/Emulation.h"
#include "tests/support/FileErrors.h"
#include "tests/support/MacVolume.h"

namespace quarn::cloud_and_privacy_tests_darwin {
namespace {

using ::testing::ElementsAre;

constexpr std::size_t kPlenty = 1 << 20;

// A volume with items that are only in the cloud, in a process that refuses downloads, as `quarn` does.
class OnlyInCloud : public ::testing::Test {
 protected:
  OnlyInCloud() {
    volume_.file("/t/here", 5000).file("/t/cloud", 9000).folder("/t/folder/inside");
    for (const char* path : {"/t/cloud", "/t/folder"})
      volume_.xattr(path, darwin::kFlagsAttribute, darwin::bytesOf(std::uint32_t{SF_DATALESS}));
    EXPECT_TRUE(refuseCloudDownloads());
  }
  ~OnlyInCloud() override {
    ::setiopolicy_np(IOPOL_TYPE_VFS_MATERIALIZE_DATALESS_FILES, IOPOL_SCOPE_PROCESS,
                     IOPOL_MATERIALIZE_DATALESS_FILES_DEFAULT);
  }
  OnlyInCloud(const OnlyInCloud&) = delete;
  OnlyInCloud& operator=(const OnlyInCloud&) = delete;

  [[nodiscard]] FileManager files() const { return volume_.files().reportingTo(report_); }

  MacVolume volume_;
  std::shared_ptr<ReadReport> report_ = std::make_shared<ReadReport>();
};

TEST_F(OnlyInCloud, AFileOccupiesNothingAndSaysSo) {
  const ItemFacts facts = files().requireFacts(FileURL("/t/cloud"), Links::doNotFollow);
  EXPECT_EQ(facts.sizes, (ByteCounts{.allocatedBytes = 0, .logicalBytes = 9000}));
  EXPECT_TRUE(facts.isOnlyInCloud);
  EXPECT_FALSE(files().requireFacts(FileURL("/t/here"), Links::doNotFollow).isOnlyInCloud);
}

TEST_F(OnlyInCloud, AFileThatIsReadIsReportedAndNotDownloaded) {
  EXPECT_EQ(files().readFileIfPossible(FileURL("/t/cloud"), kPlenty), std::nullopt);
  EXPECT_THAT(report_->items(), ElementsAre(UnreadableItem{"/t/cloud", UnreadableCause::onlyInCloud, EDEADLK}));
  EXPECT_TRUE(files().requireFacts(FileURL("/t/cloud"), Links::doNotFollow).isOnlyInCloud);
}

TEST_F(OnlyInCloud, AnOpeningThatMustNotFailSaysWhy) {
  EXPECT_EQ(errorOf([&] { (void)files().openFile(FileURL("/t/cloud")); }), EDEADLK);
}

TEST_F(OnlyInCloud, AWalkReportsAFolderAndCountsFilesWithoutBytesOnDisk) {
  const ByteCounts size = TreeSizer::total(files(), FileURL("/t"), {});
  EXPECT_EQ(size.logicalBytes, 5000 + 9000);
  EXPECT_EQ(size.allocatedBytes, files().requireFacts(FileURL("/t/here"), Links::doNotFollow).sizes.allocatedBytes);
  EXPECT_THAT(report_->items(), ElementsAre(UnreadableItem{"/t/folder", UnreadableCause::onlyInCloud, EDEADLK}));
}

TEST(PrivacyProtection, AFolderThatItRefusesIsReportedAndTheRestIsWalked) {
  MacVolume volume;
  volume.file("/t/file", 100).file("/t/Mail/letter", 100).xattr("/t/Mail", darwin::kPrivateAttribute, "yes");
  const auto report = std::make_shared<ReadReport>();
  EXPECT_EQ(TreeSizer::total(volume.files().reportingTo(report), FileURL("/t"), {}).logicalBytes, 100);
  EXPECT_THAT(report->items(), ElementsAre(UnreadableItem{"/t/Mail", UnreadableCause::privacy, EPERM}));
}

}  // namespace
}  // namespace quarn::cloud_and_privacy_tests_darwin
