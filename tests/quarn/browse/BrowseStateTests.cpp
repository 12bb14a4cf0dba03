#include <gmock/gmock.h>

#include "quarn/browse/BrowseState.h"
#include "tests/quarn/browse/TreeOf.h"

namespace quarn::browse_state_tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Code = BrowseKey::Code;

class BrowseStateOfKeys : public testing::Test {
 protected:
  BrowseStateOfKeys() {
    folder_ = addFolder(tree_, BrowseTree::kTop, "folder");
    addFile(tree_, folder_, "inner", 500);
    addFile(tree_, folder_, "small", 5);
    for (int i = 1; i <= 9; ++i) addFile(tree_, BrowseTree::kTop, "file" + std::to_string(i), 100 - i);
    state_.setRows(4);
    list();
  }

  void list() {
    state_.take(std::make_shared<const Listing>(*makeListing(tree_, state_.request(), nullptr, Cancellation::never())));
  }
  void press(Code code) {
    state_.press({.code = code});
    list();
  }
  void type(std::string_view letters) {
    for (const char letter : letters) {
      state_.press({.code = Code::character, .character = static_cast<char32_t>(letter)});
      list();
    }
  }
  [[nodiscard]] std::string selectedName() const {
    const auto item = state_.selectedItem();
    return item ? std::string(tree_.item(*item).name) : "";
  }

  BrowseTree tree_{"/top"};
  BrowseTree::Node folder_ = 0;
  BrowseState state_{tree_};
};

TEST_F(BrowseStateOfKeys, ArrowsAndLettersMoveTheSelection) {
  EXPECT_EQ(selectedName(), "folder");
  press(Code::down);
  EXPECT_EQ(selectedName(), "file1");
  type("jj");
  EXPECT_EQ(selectedName(), "file3");
  type("k");
  press(Code::up);
  EXPECT_EQ(selectedName(), "file1");
  press(Code::end);
  EXPECT_EQ(selectedName(), "file9");
  press(Code::down);
  EXPECT_EQ(selectedName(), "file9");
  press(Code::home);
  press(Code::up);
  EXPECT_EQ(selectedName(), "folder");
}

TEST_F(BrowseStateOfKeys, PagesMoveByTheRowsOfTheScreen) {
  press(Code::pageDown);
  EXPECT_EQ(selectedName(), "file4");
  EXPECT_EQ(state_.top(), 1u);
  press(Code::pageUp);
  EXPECT_EQ(selectedName(), "folder");
  EXPECT_EQ(state_.top(), 0u);
}

TEST_F(BrowseStateOfKeys, TheSelectionStaysOnTheScreen) {
  press(Code::end);
  EXPECT_EQ(state_.top(), 6u);
  state_.setRows(2);
  EXPECT_EQ(state_.top(), 8u);
  state_.setRows(100);
  EXPECT_EQ(state_.top(), 0u);
  press(Code::home);
  EXPECT_EQ(state_.top(), 0u);
}

TEST_F(BrowseStateOfKeys, EnterGoesIntoAFolderAndBackspaceReturnsToItsRow) {
  press(Code::down);
  press(Code::up);
  press(Code::enter);
  EXPECT_EQ(state_.request().folder, folder_);
  EXPECT_EQ(selectedName(), "inner");
  type("j");
  type("h");
  EXPECT_EQ(state_.request().folder, BrowseTree::kTop);
  EXPECT_EQ(selectedName(), "folder");
  type("l");
  EXPECT_EQ(selectedName(), "small");
  press(Code::left);
  press(Code::backspace);
  EXPECT_EQ(state_.request().folder, BrowseTree::kTop);
  EXPECT_THAT(state_.message(), testing::HasSubstr("top"));
}

TEST_F(BrowseStateOfKeys, AFileAndAnUnreadFolderAreNotEntered) {
  press(Code::end);
  press(Code::enter);
  EXPECT_EQ(state_.request().folder, BrowseTree::kTop);
  EXPECT_THAT(state_.message(), testing::HasSubstr("file"));
  tree_.enter(BrowseTree::kTop, {.name = "locked", .isRead = false});
  list();
  press(Code::end);
  EXPECT_EQ(selectedName(), "locked");
  press(Code::right);
  EXPECT_EQ(state_.request().folder, BrowseTree::kTop);
  EXPECT_THAT(state_.message(), testing::HasSubstr("could not be read"));
}

TEST_F(BrowseStateOfKeys, TheSelectionFollowsTheChosenItemWhileTheTreeGrows) {
  press(Code::down);
  addFile(tree_, BrowseTree::kTop, "larger", 5'000);
  list();
  EXPECT_EQ(selectedName(), "file1");
  EXPECT_EQ(state_.selected(), 2u);
}

TEST_F(BrowseStateOfKeys, TheFirstRowStaysSelectedUntilSomethingIsChosen) {
  addFile(tree_, BrowseTree::kTop, "larger", 5'000);
  list();
  EXPECT_EQ(selectedName(), "larger");
}

TEST_F(BrowseStateOfKeys, SortsComeInTurn) {
  std::vector<BrowseSort> sorts;
  for (int i = 0; i < 5; ++i) {
    type("s");
    sorts.push_back(state_.request().sort);
  }
  EXPECT_THAT(sorts,
              ElementsAre(BrowseSort::files, BrowseSort::age, BrowseSort::owner, BrowseSort::name, BrowseSort::size));
}

TEST_F(BrowseStateOfKeys, AFilterGrowsWithEachLetterAndEscapeClearsIt) {
  type("/qs");
  EXPECT_EQ(state_.outcome(), BrowseOutcome::running);
  EXPECT_EQ(state_.request().filter, "qs");
  EXPECT_THAT(state_.items(), IsEmpty());
  press(Code::backspace);
  press(Code::backspace);
  type("5");
  EXPECT_THAT(namesOf(tree_, state_.items()), ElementsAre("file5"));
  press(Code::enter);
  EXPECT_FALSE(state_.isTyping());
  EXPECT_EQ(state_.request().filter, "5");
  press(Code::escape);
  EXPECT_EQ(state_.request().filter, "");
  EXPECT_EQ(state_.items().size(), 10u);
}

TEST_F(BrowseStateOfKeys, AFilterTakesAndRemovesWholeCharacters) {
  type("/");
  state_.press({.code = Code::character, .character = U'ß'});
  state_.press({.code = Code::character, .character = U'漢'});
  state_.press({.code = Code::character, .character = U'🗂'});
  EXPECT_EQ(state_.request().filter, "ß漢🗂");
  press(Code::backspace);
  press(Code::backspace);
  EXPECT_EQ(state_.request().filter, "ß");
}

TEST_F(BrowseStateOfKeys, AFilterEndsWithTheFolder) {
  type("/fold");
  press(Code::enter);
  press(Code::enter);
  EXPECT_EQ(state_.request().folder, folder_);
  EXPECT_EQ(state_.request().filter, "");
}

TEST_F(BrowseStateOfKeys, TheSpaceBarMarksMovesOnAndTakesAMarkAway) {
  type("  ");
  EXPECT_THAT(namesOf(tree_, state_.marks()), ElementsAre("folder", "file1"));
  EXPECT_EQ(selectedName(), "file2");
  press(Code::home);
  type(" ");
  EXPECT_THAT(namesOf(tree_, state_.marks()), ElementsAre("file1"));
}

TEST_F(BrowseStateOfKeys, AMarkedFolderCoversItsContents) {
  type(" ");
  press(Code::home);
  press(Code::enter);
  EXPECT_TRUE(state_.isCovered(state_.items().front()));
  EXPECT_FALSE(state_.isMarked(state_.items().front()));
  EXPECT_FALSE(state_.isCovered(folder_));
}

TEST_F(BrowseStateOfKeys, TheRestOfAScanIsNeitherEnteredNorMarked) {
  tree_.addSummed({.kind = BrowseTree::Kind::rest, .sizes = {9'999, 9'999}, .files = 4});
  list();
  press(Code::enter);
  type(" ");
  EXPECT_THAT(state_.marks(), IsEmpty());
  EXPECT_EQ(state_.request().folder, BrowseTree::kTop);
}

TEST_F(BrowseStateOfKeys, PrintingAndWritingNeedMarks) {
  type("pw");
  EXPECT_EQ(state_.outcome(), BrowseOutcome::running);
  EXPECT_FALSE(state_.takeWriteRequest());
  type(" w");
  EXPECT_TRUE(state_.takeWriteRequest());
  EXPECT_FALSE(state_.takeWriteRequest());
  type("p");
  EXPECT_EQ(state_.outcome(), BrowseOutcome::print);
}

TEST_F(BrowseStateOfKeys, LeavingHasTwoOutcomes) {
  BrowseState other(tree_);
  other.press({.code = Code::interrupt});
  EXPECT_EQ(other.outcome(), BrowseOutcome::interrupted);
  type("q");
  EXPECT_EQ(state_.outcome(), BrowseOutcome::quit);
}

TEST_F(BrowseStateOfKeys, AnyKeyLeavesTheHelp) {
  type("?");
  EXPECT_TRUE(state_.showsHelp());
  type("q");
  EXPECT_FALSE(state_.showsHelp());
  EXPECT_EQ(state_.outcome(), BrowseOutcome::running);
}

TEST_F(BrowseStateOfKeys, DetailsAndTheShownSizeAreSwitched) {
  type("i");
  EXPECT_TRUE(state_.showsDetails());
  press(Code::tab);
  EXPECT_FALSE(state_.showsDetails());
  type("a");
  EXPECT_EQ(state_.request().size, ShownSize::apparent);
  type("a");
  EXPECT_EQ(state_.request().size, ShownSize::allocated);
}

TEST_F(BrowseStateOfKeys, AListingOfAnotherFolderIsNotShown) {
  const auto inner =
      std::make_shared<const Listing>(*makeListing(tree_, {.folder = folder_}, nullptr, Cancellation::never()));
  state_.take(inner);
  EXPECT_EQ(state_.items().size(), 10u);
  state_.press({.code = Code::enter});
  EXPECT_THAT(state_.items(), IsEmpty());
  EXPECT_TRUE(state_.isWaiting());
  state_.take(inner);
  EXPECT_EQ(state_.items().size(), 2u);
}

}  // namespace
}  // namespace quarn::browse_state_tests
