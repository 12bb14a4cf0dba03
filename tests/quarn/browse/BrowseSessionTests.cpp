#include <deque>
#include <thread>

#include <gmock/gmock.h>

#include "quarn/browse/BrowsePainter.h"
#include "quarn/browse/BrowseSession.h"
#include "tests/quarn/browse/TreeOf.h"

namespace quarn::browse_session_tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using Code = BrowseKey::Code;

/// A screen of text. It presses the given keys, each as soon as nothing is being sorted, and ends with "q".
class ScriptedScreen final : public BrowseScreen {
 public:
  explicit ScriptedScreen(std::deque<BrowseKey> keys) : keys_(std::move(keys)) {}

  Size size() override { return size_; }
  bool isUTF8() override { return true; }
  void show(const std::vector<ScreenLine>& lines) override {
    picture_.clear();
    for (const ScreenLine& line : lines) picture_ += textOf(line) + "\n";
  }
  BrowseKey read(std::chrono::milliseconds wait) override {
    if (waits()) {
      std::this_thread::sleep_for(std::min(wait, std::chrono::milliseconds(5)));
      return {};
    }
    pictures.push_back(picture_);
    if (keys_.empty()) return {.code = Code::character, .character = U'q'};
    const BrowseKey key = keys_.front();
    keys_.pop_front();
    return key;
  }

  /// The picture before each key.
  std::vector<std::string> pictures;
  Size size_{.width = 100, .height = 20};

 private:
  [[nodiscard]] bool waits() const {
    return picture_.find("sorting") != std::string::npos || picture_.find("searching owners") != std::string::npos ||
           picture_.find("reading") != std::string::npos;
  }

  std::deque<BrowseKey> keys_;
  std::string picture_;
};

std::deque<BrowseKey> keys(std::string_view letters) {
  std::deque<BrowseKey> result;
  for (const char letter : letters)
    result.push_back({.code = Code::character, .character = static_cast<char32_t>(letter)});
  return result;
}

KnownItem knownItem(const FileURL& url) {
  KnownItem known;
  if (url.path() == "/top/folder") {
    known.item.ownership = {.status = OwnershipStatus::owned,
                            .owners = {{.appName = "Lumen Notes"}},
                            .rivals = {{.appName = "Other", .evidence = EvidenceKind::name, .confidence = 0.4}},
                            .evidence = "named by the bundle identifier",
                            .confidence = 0.9};
    known.risk = RiskLevel::safe;
    known.dataClass = ArtifactDataClass::rebuildable;
    known.item.category = StorageCategoryID::development;
  }
  return known;
}

class BrowseSessions : public testing::Test {
 protected:
  BrowseSessions() {
    const auto folder = addFolder(tree_, BrowseTree::kTop, "folder");
    addFile(tree_, folder, "inner", 5'000'000);
    addFile(tree_, BrowseTree::kTop, "file", 1'000'000);
  }

  BrowseOutcome run(ScriptedScreen& screen) {
    BrowseSession session(screen, tree_, feed_,
                          {.home = FileURL("/top"), .write = [this](const std::vector<std::string>& paths) {
                             written_ = paths;
                             return std::string("written");
                           }});
    const BrowseOutcome outcome = session.run();
    marks_ = namesOf(tree_, session.marks());
    return outcome;
  }

  BrowseTree tree_{"/top"};
  BrowseFeed feed_;
  std::vector<std::string> written_;
  std::vector<std::string> marks_;
};

TEST_F(BrowseSessions, KeysChangeThePicture) {
  feed_.endFilling();
  feed_.endKnowledge(nullptr);
  ScriptedScreen screen(keys("lhjs"));
  EXPECT_EQ(run(screen), BrowseOutcome::quit);
  ASSERT_EQ(screen.pictures.size(), 5u);
  EXPECT_THAT(screen.pictures[0], HasSubstr("folder/"));
  EXPECT_THAT(screen.pictures[1], HasSubstr("~/folder"));
  EXPECT_THAT(screen.pictures[1], HasSubstr("inner"));
  EXPECT_EQ(screen.pictures[2], screen.pictures[0]);
  EXPECT_THAT(screen.pictures[4], HasSubstr("by files"));
}

TEST_F(BrowseSessions, OwnersCategoriesAndRisksAppearWhenTheyAreKnown) {
  feed_.endFilling();
  std::thread later([this] { feed_.endKnowledge(knownItem); });
  ScriptedScreen screen(keys("i"));
  run(screen);
  later.join();
  EXPECT_THAT(screen.pictures[0], HasSubstr("Lumen Notes"));
  EXPECT_THAT(screen.pictures[0], HasSubstr("development"));
  EXPECT_THAT(screen.pictures[1], HasSubstr("because    named by the bundle identifier (0.90)"));
  EXPECT_THAT(screen.pictures[1], HasSubstr("rival      Other (0.40)"));
  EXPECT_THAT(screen.pictures[1], HasSubstr("removal    the app recreates it"));
}

TEST_F(BrowseSessions, FoldersReadMeanwhileAppearAtTheEnd) {
  feed_.endKnowledge(nullptr);
  std::thread filler([this] {
    addFile(tree_, BrowseTree::kTop, "late", 70'000'000);
    feed_.endFilling();
  });
  ScriptedScreen screen({});
  run(screen);
  filler.join();
  EXPECT_THAT(screen.pictures[0], HasSubstr("late"));
  EXPECT_THAT(screen.pictures[0], HasSubstr("76.0 MB on disk, 3 files"));
}

TEST_F(BrowseSessions, MarksHaveATotalAndAreWritten) {
  feed_.endFilling();
  feed_.endKnowledge(nullptr);
  ScriptedScreen screen(keys("  wp"));
  EXPECT_EQ(run(screen), BrowseOutcome::print);
  EXPECT_THAT(screen.pictures[2], HasSubstr("2 marked: 6.0 MB"));
  EXPECT_THAT(screen.pictures[3], HasSubstr("written"));
  EXPECT_THAT(written_, ElementsAre("/top/folder", "/top/file"));
  EXPECT_THAT(marks_, ElementsAre("folder", "file"));
}

TEST_F(BrowseSessions, AnErrorOfAThreadEndsTheBrowser) {
  try {
    throw std::runtime_error("the disk is gone");
  } catch (...) {
    feed_.fail();
  }
  ScriptedScreen screen(keys("jjj"));
  EXPECT_THROW(run(screen), std::runtime_error);
}

TEST_F(BrowseSessions, TheNoteSaysWhatTheTreeDoesNotHold) {
  feed_.endFilling();
  feed_.endKnowledge(nullptr);
  feed_.setNote("a scan of 2026-11-20");
  ScriptedScreen screen({});
  run(screen);
  EXPECT_THAT(screen.pictures[0], HasSubstr("a scan of 2026-11-20"));
}

TEST_F(BrowseSessions, ASmallScreenStillAnswers) {
  feed_.endFilling();
  feed_.endKnowledge(knownItem);
  ScriptedScreen screen(keys("i?xjj l"));
  screen.size_ = {.width = 5, .height = 2};
  EXPECT_EQ(run(screen), BrowseOutcome::quit);
}

}  // namespace
}  // namespace quarn::browse_session_tests
