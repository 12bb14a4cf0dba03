#include <gmock/gmock.h>

#include "quarn/browse/BrowseListing.h"
#include "tests/quarn/browse/TreeOf.h"

namespace quarn::browse_listing_tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class BrowseListing : public testing::Test {
 protected:
  BrowseListing() {
    addFile(tree_, BrowseTree::kTop, "beta", 300, 2'000);
    addFile(tree_, BrowseTree::kTop, "Alpha", 300, 9'000);
    const auto folder = addFolder(tree_, BrowseTree::kTop, "gamma");
    addFile(tree_, folder, "x", 50, 5'000);
    addFile(tree_, folder, "y", 50, 4'000);
    addFolder(tree_, BrowseTree::kTop, "empty");
  }

  std::vector<std::string> names(const ListingRequest& request, const OwnerNames& owners = nullptr) {
    const auto listing = makeListing(tree_, request, owners, Cancellation::never());
    return listing ? namesOf(tree_, listing->items) : std::vector<std::string>{"cancelled"};
  }

  BrowseTree tree_{"/top"};
};

TEST_F(BrowseListing, TheLargestComesFirstAndEqualOnesByName) {
  EXPECT_THAT(names({}), ElementsAre("Alpha", "beta", "gamma", "empty"));
}

TEST_F(BrowseListing, TheApparentSizeDecidesWhereItIsShown) {
  tree_.keep(BrowseTree::kTop, {.name = "sparse", .sizes = {.allocatedBytes = 0, .logicalBytes = 1'000'000}});
  EXPECT_THAT(names({}), ElementsAre("Alpha", "beta", "gamma", "empty", "sparse"));
  EXPECT_THAT(names({.size = ShownSize::apparent}), ElementsAre("sparse", "Alpha", "beta", "gamma", "empty"));
}

TEST_F(BrowseListing, TheFolderWithMostFilesComesFirst) {
  EXPECT_THAT(names({.sort = BrowseSort::files}), ElementsAre("gamma", "Alpha", "beta", "empty"));
}

TEST_F(BrowseListing, TheLongestUnchangedComesFirstAndWhatHasNoTimeLast) {
  EXPECT_THAT(names({.sort = BrowseSort::age}), ElementsAre("beta", "gamma", "Alpha", "empty"));
}

TEST_F(BrowseListing, NamesAreSortedWithoutTheCaseOfLetters) {
  EXPECT_THAT(names({.sort = BrowseSort::name}), ElementsAre("Alpha", "beta", "empty", "gamma"));
}

TEST_F(BrowseListing, OwnersAreSortedByNameAndUnknownOnesAreLast) {
  const OwnerNames owners = [](const std::string& path) -> std::string {
    if (path == "/top/gamma") return "apple Notes";
    if (path == "/top/beta") return "Zed";
    return "";
  };
  EXPECT_THAT(names({.sort = BrowseSort::owner}, owners), ElementsAre("gamma", "beta", "Alpha", "empty"));
}

TEST_F(BrowseListing, WithoutOwnersTheOrderByOwnerIsThatBySize) {
  EXPECT_THAT(names({.sort = BrowseSort::owner}), ElementsAre("Alpha", "beta", "gamma", "empty"));
}

TEST_F(BrowseListing, AFilterKeepsTheNamesThatContainItInAnyCase) {
  EXPECT_THAT(names({.filter = "ALP"}), ElementsAre("Alpha"));
  EXPECT_THAT(names({.filter = "zzz"}), IsEmpty());
  addFile(tree_, BrowseTree::kTop, "Größe", 1);
  EXPECT_THAT(names({.filter = "GRÖS"}), ElementsAre("Größe"));
}

TEST_F(BrowseListing, AFilterCountsAllItems) {
  const auto listing = makeListing(tree_, {.filter = "alp"}, nullptr, Cancellation::never());
  ASSERT_TRUE(listing);
  EXPECT_EQ(listing->all, 4u);
  EXPECT_EQ(listing->items.size(), 1u);
  EXPECT_EQ(listing->largest, 300);
}

TEST_F(BrowseListing, ACancelledListingIsAbsent) {
  const Cancellation cancelled;
  cancelled.cancel();
  EXPECT_FALSE(makeListing(tree_, {}, nullptr, cancelled));
}

TEST_F(BrowseListing, AHugeFolderIsListedWhole) {
  constexpr int kFiles = 200'000;
  const auto folder = addFolder(tree_, BrowseTree::kTop, "many");
  for (int i = 0; i < kFiles; ++i) addFile(tree_, folder, std::to_string(i), i);
  const auto listing = makeListing(tree_, {.folder = folder}, nullptr, Cancellation::never());
  ASSERT_TRUE(listing);
  ASSERT_EQ(listing->items.size(), static_cast<std::size_t>(kFiles));
  EXPECT_EQ(tree_.item(listing->items.front()).name, "199999");
  EXPECT_EQ(tree_.item(listing->items.back()).name, "0");
}

}  // namespace
}  // namespace quarn::browse_listing_tests
