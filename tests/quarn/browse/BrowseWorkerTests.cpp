#include <functional>
#include <stdexcept>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "quarn/browse/BrowseWorker.h"
#include "tests/quarn/browse/TreeOf.h"

namespace quarn::browse_worker_tests {
namespace {

using testing::ElementsAre;

constexpr std::chrono::seconds kGenerously{60};

TEST(BrowseWorker, AnswersTheLastRequest) {
  BrowseTree tree("/top");
  addFile(tree, BrowseTree::kTop, "b", 2);
  addFile(tree, BrowseTree::kTop, "a", 1);
  BrowseWorker worker(tree);
  for (int i = 0; i < 100; ++i) worker.requestListing({.filter = "zzz"}, nullptr);
  worker.requestListing({.sort = BrowseSort::name}, nullptr);
  const BrowseWorker::Results results = worker.take(kGenerously);
  ASSERT_NE(results.listing, nullptr);
  EXPECT_EQ(results.listing->request.sort, BrowseSort::name);
  EXPECT_THAT(namesOf(tree, results.listing->items), ElementsAre("a", "b"));
  EXPECT_FALSE(worker.isBusy());
  EXPECT_EQ(worker.take(std::chrono::milliseconds(0)).listing, nullptr);
}

// Else the session rests, and shows the results a second later.
TEST(BrowseWorker, IsBusyUntilItsResultsAreTaken) {
  BrowseTree tree("/top");
  const auto file = addFile(tree, BrowseTree::kTop, "file", 5);
  const OwnerNames failing = [](const std::string&) -> std::string { throw std::runtime_error("no"); };
  const std::vector<std::function<void(BrowseWorker&)>> requests{
      [](BrowseWorker& worker) { worker.requestListing({}, nullptr); },
      [&](BrowseWorker& worker) { worker.requestUnion({file}); },
      [&](BrowseWorker& worker) { worker.requestListing({.sort = BrowseSort::owner}, failing); }};
  for (const auto& request : requests) {
    BrowseWorker worker(tree);
    request(worker);
    for (int look = 0; look < 50; ++look) {
      EXPECT_TRUE(worker.isBusy());
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    try {
      (void)worker.take(kGenerously);
    } catch (const std::runtime_error&) {
      // What the work threw is a result too.
    }
    EXPECT_FALSE(worker.isBusy());
  }
}

TEST(BrowseWorker, AddsUpWhatItemsHoldTogether) {
  BrowseTree tree("/top");
  const auto folder = addFolder(tree, BrowseTree::kTop, "folder");
  const auto file = addFile(tree, folder, "file", 5);
  BrowseWorker worker(tree);
  worker.requestUnion({folder, file});
  const BrowseWorker::Results results = worker.take(kGenerously);
  ASSERT_TRUE(results.sum);
  EXPECT_EQ(results.sum->sizes.allocatedBytes, 5);
}

TEST(BrowseWorker, PassesOnWhatTheWorkThrows) {
  BrowseTree tree("/top");
  addFile(tree, BrowseTree::kTop, "file", 5);
  BrowseWorker worker(tree);
  worker.requestListing({.sort = BrowseSort::owner},
                        [](const std::string&) -> std::string { throw std::runtime_error("no"); });
  EXPECT_THROW(worker.take(kGenerously), std::runtime_error);
  worker.requestListing({}, nullptr);
  EXPECT_NE(worker.take(kGenerously).listing, nullptr);
}

TEST(BrowseWorker, ListsATreeThatOthersFill) {
  BrowseTree tree("/top");
  constexpr int kFiles = 20'000;
  const auto folder = addFolder(tree, BrowseTree::kTop, "folder");
  std::vector<std::thread> fillers;
  for (int number = 0; number < 2; ++number) {
    fillers.emplace_back([&, number] {
      for (int i = 0; i < kFiles; ++i) {
        tree.keep(
            folder,
            {.name = "name", .sizes = {1, 1}, .inode = static_cast<std::uint64_t>(i), .links = number == 0 ? 1u : 2u});
      }
    });
  }
  BrowseWorker worker(tree);
  for (int i = 0; i < 50; ++i) {
    worker.requestListing({.folder = folder}, nullptr);
    worker.requestUnion({folder});
    (void)worker.take(std::chrono::milliseconds(1));
    (void)tree.item(folder);
  }
  for (std::thread& filler : fillers) filler.join();
  worker.requestListing({.folder = folder}, nullptr);
  worker.requestUnion({folder});
  BrowseWorker::Results results = worker.take(kGenerously);
  ASSERT_NE(results.listing, nullptr);
  EXPECT_EQ(results.listing->items.size(), 2u * kFiles);
  ASSERT_TRUE(results.sum);
  EXPECT_EQ(results.sum->files, 2 * kFiles);
}

TEST(BrowseWorker, EndsInTheMiddleOfItsWork) {
  BrowseTree tree("/top");
  for (int i = 0; i < 100'000; ++i) addFile(tree, BrowseTree::kTop, std::to_string(i), i);
  BrowseWorker worker(tree);
  worker.requestListing({.sort = BrowseSort::name}, nullptr);
}

}  // namespace
}  // namespace quarn::browse_worker_tests
