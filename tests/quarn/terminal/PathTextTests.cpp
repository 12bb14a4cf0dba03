#include <gtest/gtest.h>

#include "quarn/terminal/PathText.h"

namespace quarn::path_text_tests {
namespace {

TEST(PathText, TheHomeFolderIsATilde) {
  const FileURL home("/Users/ann");
  EXPECT_EQ(pathText(FileURL("/Users/ann/Library/x"), home), "~/Library/x");
  EXPECT_EQ(pathText(FileURL("/Users/anna/x"), home), "/Users/anna/x");
  EXPECT_EQ(pathText(FileURL("/Library"), home), "/Library");
}

TEST(PathText, AHomeAtTheRootShortensNothing) {
  EXPECT_EQ(pathText(FileURL("/Library/x"), FileURL("/")), "/Library/x");
}

}  // namespace
}  // namespace quarn::path_text_tests
