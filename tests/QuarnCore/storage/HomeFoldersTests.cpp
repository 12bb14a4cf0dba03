#include <gmock/gmock.h>

#include "QuarnCore/storage/HomeFolders.h"

namespace quarn::home_folders_tests {
namespace {

using ::testing::ElementsAre;

std::vector<std::string> outermost(const std::vector<std::string>& locations) {
  std::vector<FileURL> folders;
  for (const std::string& location : locations) folders.emplace_back(location, URLKind::directory);
  std::vector<std::string> paths;
  for (const FileURL& url : outermostOf(folders)) paths.push_back(url.path());
  return paths;
}

TEST(HomeFolders, TheOutermostOnesAreInsideNoOther) {
  EXPECT_THAT(outermost({"/Users/ann/in/bob", "/Users/ann", "/Users/annie", "/Users/ann/eve"}),
              ElementsAre("/Users/ann", "/Users/annie"));
  EXPECT_THAT(outermost({"/Users/ann", "/Users/ann"}), ElementsAre("/Users/ann"));
}

// The parent of the root is the root.
TEST(HomeFolders, TheRootIsInsideNoFolder) {
  EXPECT_THAT(outermost({"/"}), ElementsAre("/"));
  EXPECT_THAT(outermost({"/Users/ann", "/"}), ElementsAre("/"));
}

}  // namespace
}  // namespace quarn::home_folders_tests
