#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/QuarnCore/discovery/ArtifactLines.h"
#include "tests/QuarnCore/inspection/Inspector.h"

namespace quarn::inspection_kernel_extensions_tests {
namespace {

using ::testing::ElementsAre;

// An extension in a receipt, which the receipts phase reports as an ordinary file.
class InspectionKernelExtensions : public testing::Test {
 protected:
  InspectionKernelExtensions() : inspector_(volume_) {
    volume_.app("/Applications/Example.app").folder("~/Library/Caches/com.example.App");
    volume_.folder("/Library/Extensions/Driver.kext").file("/opt/tool");
  }

  std::vector<std::string> found(const std::vector<std::string>& extensions,
                                 const std::vector<std::vector<std::string>>& receipts) {
    inspector_.extensions.installedKernelExtensions = [extensions](bool) {
      std::vector<KernelExtensionInfo> infos;
      for (const std::string& path : extensions) infos.push_back({.name = "at " + path, .url = FileURL(path)});
      return infos;
    };
    inspector_.receipts.packageIDs = [](const std::string&) { return std::vector<std::string>{"com.example.App"}; };
    inspector_.receipts.receiptsMatching = [receipts](const AppEntity&) {
      std::vector<ReceiptInfo> infos;
      for (const std::vector<std::string>& files : receipts) {
        ReceiptInfo info{.packageIdentifier = std::to_string(infos.size())};
        for (const std::string& path : files) info.files.emplace_back(path);
        infos.push_back(info);
      }
      return infos;
    };
    AppInspectionService::Options options = inspectionOptions(false);
    options.includeReceipts = options.includeKernelExtensions = true;
    return titles(inspector_.service().inspect(exampleApp(), options).artifacts);
  }

  MacVolume volume_;
  Inspector inspector_;
};

const std::string kDriver = "/Library/Extensions/Driver.kext";

TEST_F(InspectionKernelExtensions, OneFoundAsAnOrdinaryFileTooIsListedOnceAtTheEnd) {
  EXPECT_THAT(found({kDriver}, {{kDriver}, {"/opt/tool"}}),
              ElementsAre("App", "Cache", "Receipt: 1", "Kernel Extension: at " + kDriver));
}

TEST_F(InspectionKernelExtensions, AnArtifactThatContainsItAmongOthersIsRemovedCompletely) {
  EXPECT_THAT(found({kDriver}, {{"/opt/tool", kDriver, "/opt/other"}}),
              ElementsAre("App", "Cache", "Kernel Extension: at " + kDriver));
}

TEST_F(InspectionKernelExtensions, PathsAreComparedStandardised) {
  EXPECT_THAT(found({"/Library/./Extensions//Driver.kext"}, {{"/Library/Extensions/x/../Driver.kext"}}),
              ElementsAre("App", "Cache", "Kernel Extension: at /Library/./Extensions//Driver.kext"));
}

TEST_F(InspectionKernelExtensions, OnlyTheVeryPathCounts) {
  EXPECT_THAT(found({kDriver}, {{kDriver + "/Contents"}, {"/Library/Extensions"}, {kDriver + "2"}}),
              ElementsAre("App", "Cache", "Receipt: 0", "Receipt: 1", "Receipt: 2", "Kernel Extension: at " + kDriver));
}

TEST_F(InspectionKernelExtensions, WithoutAnyTheListStaysAsItWas) {
  EXPECT_THAT(found({}, {{kDriver}, {}}), ElementsAre("App", "Cache", "Receipt: 0", "Receipt: 1"));
}

TEST_F(InspectionKernelExtensions, EveryPhasesArtifactCanBeReplaced) {
  EXPECT_THAT(found({"/Applications/Example.app", "/Users/ann/Library/Caches/com.example.App"}, {}),
              ElementsAre("Kernel Extension: at /Applications/Example.app",
                          "Kernel Extension: at /Users/ann/Library/Caches/com.example.App"));
}

}  // namespace
}  // namespace quarn::inspection_kernel_extensions_tests
