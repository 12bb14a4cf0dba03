#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "quarn/browse/BrowseListing.h"
#include "quarn/browse/BrowseTree.h"

namespace quarn {

/// A key as a terminal sends it.
struct BrowseKey {
  enum class Code : std::uint8_t {
    none,  ///< no key was pressed, or an unknown one
    character,
    up,
    down,
    left,
    right,
    enter,
    backspace,
    home,
    end,
    pageUp,
    pageDown,
    tab,
    escape,
    interrupt,  ///< Ctrl-C
    resize,     ///< the terminal has a new size
    closed,     ///< the terminal is gone
  };
  Code code = Code::none;
  char32_t character = 0;
};

/// How the browser goes on.
enum class BrowseOutcome : std::uint8_t {
  running,
  quit,
  print,        ///< leave, and print the marked items
  interrupted,  ///< Ctrl-C
};

/// What the browser shows: the folder, the selected item, the order, the filter and the marks. Keys change it, listings
/// fill it. It does no input and no output. Belongs to one thread.
class BrowseState {
 public:
  explicit BrowseState(const BrowseTree& tree) : tree_(tree) {}

  void press(const BrowseKey& key);
  /// The number of rows for items.
  void setRows(std::size_t rows);
  /// Takes the listing if it is of the shown folder.
  void take(std::shared_ptr<const Listing> listing);
  void takeUnion(const BrowseTree::Union& sum) { union_ = sum; }
  /// A message that the next key removes.
  void tell(std::string message) { message_ = std::move(message); }
  /// True once after "w": the marked paths are to be written.
  [[nodiscard]] bool takeWriteRequest();

  [[nodiscard]] BrowseOutcome outcome() const { return outcome_; }
  /// The listing that the state needs now.
  [[nodiscard]] const ListingRequest& request() const { return request_; }
  /// True if the shown listing is not the requested one.
  [[nodiscard]] bool isWaiting() const { return !listing_ || listing_->request != request_; }
  /// The items of the shown folder; empty until the first listing of it.
  [[nodiscard]] const std::vector<BrowseTree::Node>& items() const;
  [[nodiscard]] const Listing* listing() const { return listing_.get(); }
  [[nodiscard]] std::size_t selected() const { return selected_; }
  [[nodiscard]] std::optional<BrowseTree::Node> selectedItem() const;
  /// The first item that the screen shows.
  [[nodiscard]] std::size_t top() const { return top_; }
  [[nodiscard]] bool isTyping() const { return isTyping_; }
  [[nodiscard]] bool showsDetails() const { return showsDetails_; }
  [[nodiscard]] bool showsHelp() const { return showsHelp_; }
  [[nodiscard]] const std::string& message() const { return message_; }
  [[nodiscard]] bool isMarked(BrowseTree::Node item) const { return marked_.contains(item); }
  /// True if the item is in a marked folder.
  [[nodiscard]] bool isCovered(BrowseTree::Node item) const;
  /// In the order in which they were marked.
  [[nodiscard]] const std::vector<BrowseTree::Node>& marks() const { return marks_; }
  /// What the marks hold together; as of the last `takeUnion`.
  [[nodiscard]] const BrowseTree::Union& markedUnion() const { return union_; }

 private:
  void type(const BrowseKey& key);
  void command(char32_t character);
  bool move(BrowseKey::Code code);
  void select(std::size_t item);
  void enterSelected();
  void leaveFolder();
  void show(BrowseTree::Node folder);
  void setFilter(std::string filter);
  void toggleMark();
  void keepVisible();

  const BrowseTree& tree_;
  ListingRequest request_{};
  std::shared_ptr<const Listing> listing_;
  std::unordered_map<BrowseTree::Node, BrowseTree::Node> selectedIn_;  // by folder; absent where nobody chose
  std::size_t selected_ = 0;
  std::size_t top_ = 0;
  std::size_t rows_ = 1;
  std::vector<BrowseTree::Node> marks_;
  std::unordered_set<BrowseTree::Node> marked_;
  BrowseTree::Union union_{};
  std::string message_;
  BrowseOutcome outcome_ = BrowseOutcome::running;
  bool isTyping_ = false;
  bool showsDetails_ = false;
  bool showsHelp_ = false;
  bool wantsWriting_ = false;
};

}  // namespace quarn
