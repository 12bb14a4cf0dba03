#pragma once

#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "quarn/browse/BrowseFrame.h"
#include "quarn/browse/BrowseScreen.h"
#include "quarn/browse/BrowseState.h"
#include "quarn/browse/BrowseTree.h"
#include "quarn/browse/BrowseWorker.h"
#include "quarn/browse/ItemKnowledge.h"

namespace quarn {

/// What the threads of the browser say to its screen. Thread-safe.
class BrowseFeed {
 public:
  struct State {
    bool isFilling = true;                             ///< the tree still grows
    bool isKnowledgeComing = true;                     ///< owners are still being searched
    std::string note{};                                ///< what the tree does not hold, or why it is not whole
    std::shared_ptr<const ItemKnowledge> knowledge{};  ///< null until it is there
    std::exception_ptr failure{};                      ///< ends the browser
  };

  void endFilling();
  void endKnowledge(ItemKnowledge knowledge);
  void setNote(std::string note);
  /// Ends the browser with the current exception.
  void fail();
  [[nodiscard]] State state() const;

 private:
  mutable std::mutex mutex_;
  State state_;
};

/// The browser on a screen: reads keys, asks the worker for listings, and paints. Runs on the calling thread.
///
/// Threads: this one owns the state and the screen. The worker makes listings and unions. The command's own threads
/// fill the tree and find the owners, and say so to the feed. The session only waits for keys, and for the worker for
/// `kPatience` after a key, so that most keys cost one picture. Memory: the worker's results and the columns of
/// `kKnownItems` items.
class BrowseSession {
 public:
  static constexpr std::chrono::milliseconds kPatience{4};
  static constexpr std::size_t kKnownItems = 10'000;

  struct Options {
    SizeUnits units = SizeUnits::decimal;
    FileURL home{};  ///< shown as "~"
    /// Writes the paths; returns the message for the user.
    std::function<std::string(const std::vector<std::string>& paths)> write{};
  };

  BrowseSession(BrowseScreen& screen, const BrowseTree& tree, const BrowseFeed& feed, Options options);

  /// Runs until the user leaves. Throws what a thread passed to the feed.
  BrowseOutcome run();
  /// The marked items, in the order in which they were marked.
  [[nodiscard]] const std::vector<BrowseTree::Node>& marks() const { return state_.marks(); }
  [[nodiscard]] const BrowseState& state() const { return state_; }

 private:
  using Clock = std::chrono::steady_clock;

  void answer(const BrowseKey& key);
  void requestWork(bool isRefresh);
  void takeResults(std::chrono::milliseconds wait);
  void refresh();
  void writeMarks();
  void paint();
  [[nodiscard]] std::chrono::milliseconds patienceForKeys() const;
  [[nodiscard]] BrowseFrame frame();
  void addRows(BrowseFrame& frame);
  void addDetails(BrowseFrame& frame);
  [[nodiscard]] std::vector<std::string> activities() const;
  [[nodiscard]] KnownColumns known(const BrowseTree::Item& item);

  BrowseScreen& screen_;
  const BrowseTree& tree_;
  const BrowseFeed& feed_;
  Options options_;
  BrowseState state_;
  BrowseWorker worker_;
  BrowseFeed::State fed_;
  ListingRequest requested_;
  std::size_t requestedMarks_ = 0;
  bool hasNews_ = false;  // what is shown is older than the tree or the knowledge
  Clock::time_point requestedAt_{};
  Clock::duration listingTime_{};
  std::unordered_map<BrowseTree::Node, KnownColumns> known_;
};

}  // namespace quarn
