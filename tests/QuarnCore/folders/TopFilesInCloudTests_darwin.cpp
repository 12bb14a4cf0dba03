#include <gmock/gmock.h>
#include <sys/stat.h>

#include "tests/QuarnCore/folders/TopItemsFixture.h"
#include "tests/macos/emulation/Emulation.h"

namespace quarn::top_files_in_cloud_tests_darwin {
namespace {

using ::testing::ElementsAre;
using Options = TopItemsService::SearchOptions;

class TopFilesInCloud : public ::testing::Test {
 protected:
  TopFilesInCloud() {
    volume_.sparse("/f/sparse", 6'000).sparse("/f/cloud", 9'000).file("/f/here", 4'096);
    volume_.xattr("/f/cloud", darwin::kFlagsAttribute, darwin::bytesOf(std::uint32_t{SF_DATALESS}));
  }

  [[nodiscard]] std::vector<std::string> found(long limit) const {
    const Options options{.limit = limit, .maxDepth = 100, .maxVisited = 1'000, .preferAllocatedSize = true};
    return lines(volume_.service().topFilesRecursively(volume_.urls({"/f"}), options, Cancellation::never()));
  }

  TopItemsVolume volume_;
};

TEST_F(TopFilesInCloud, AFileThatIsOnlyInTheCloudKeepsItsZeroAndASparseOneDoesNot) {
  EXPECT_THAT(found(10), ElementsAre("/f/sparse 6000 6000", "/f/here 4096 4096", "/f/cloud 0 9000"));
}

TEST_F(TopFilesInCloud, ItTakesNoPlaceFromAFileThatIsHere) {
  EXPECT_THAT(found(2), ElementsAre("/f/sparse 6000 6000", "/f/here 4096 4096"));
}

}  // namespace
}  // namespace quarn::top_files_in_cloud_tests_darwin
