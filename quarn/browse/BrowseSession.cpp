#include "quarn/browse/BrowseSession.h"

#include <algorithm>
#include <span>
#include <utility>

#include <fmt/format.h>

#include "quarn/browse/BrowsePainter.h"
#include "quarn/terminal/CountText.h"
#include "quarn/terminal/PathText.h"

namespace quarn {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kWhileWorking{40};   // between two looks at the worker
constexpr milliseconds kWhileFilling{200};  // between two listings of a tree that grows
constexpr milliseconds kAtRest{1000};
// A listing may take this part of the time.
constexpr int kShareOfListings = 5;

}  // namespace

void BrowseFeed::endFilling() {
  const std::lock_guard lock(mutex_);
  state_.isFilling = false;
}

void BrowseFeed::endKnowledge(ItemKnowledge knowledge) {
  const std::lock_guard lock(mutex_);
  state_.isKnowledgeComing = false;
  if (knowledge) state_.knowledge = std::make_shared<const ItemKnowledge>(std::move(knowledge));
}

void BrowseFeed::setNote(std::string note) {
  const std::lock_guard lock(mutex_);
  state_.note = std::move(note);
}

void BrowseFeed::fail() {
  const std::lock_guard lock(mutex_);
  state_.isFilling = state_.isKnowledgeComing = false;
  if (!state_.failure) state_.failure = std::current_exception();
}

BrowseFeed::State BrowseFeed::state() const {
  const std::lock_guard lock(mutex_);
  return state_;
}

BrowseSession::BrowseSession(BrowseScreen& screen, const BrowseTree& tree, const BrowseFeed& feed, Options options)
    : screen_(screen), tree_(tree), feed_(feed), options_(std::move(options)), state_(tree), worker_(tree) {}

BrowseOutcome BrowseSession::run() {
  fed_ = feed_.state();
  requestWork(/*isRefresh=*/true);
  takeResults(kPatience);
  while (state_.outcome() == BrowseOutcome::running) {
    paint();
    answer(screen_.read(patienceForKeys()));
    if (fed_.failure) std::rethrow_exception(fed_.failure);
  }
  return state_.outcome();
}

void BrowseSession::answer(const BrowseKey& key) {
  if (key.code != BrowseKey::Code::none) {
    state_.press(key);
    if (state_.takeWriteRequest()) writeMarks();
    requestWork(/*isRefresh=*/false);
    takeResults(kPatience);
  }
  refresh();
}

std::chrono::milliseconds BrowseSession::patienceForKeys() const {
  if (worker_.isBusy()) return kWhileWorking;
  return hasNews_ || fed_.isFilling || fed_.isKnowledgeComing ? kWhileFilling : kAtRest;
}

// Looks for what changed meanwhile. A tree that grew until the last look is listed once more.
void BrowseSession::refresh() {
  const BrowseFeed::State before = std::exchange(fed_, feed_.state());
  hasNews_ = hasNews_ || before.isFilling || before.knowledge != fed_.knowledge;
  const Clock::duration pause = std::max<Clock::duration>(kWhileFilling, kShareOfListings * listingTime_);
  if (hasNews_ && Clock::now() - requestedAt_ >= pause && !worker_.isBusy()) {
    hasNews_ = false;
    requestWork(/*isRefresh=*/true);
  }
  takeResults(milliseconds(0));
}

void BrowseSession::requestWork(bool isRefresh) {
  if (isRefresh || state_.request() != requested_) {
    requested_ = state_.request();
    requestedAt_ = Clock::now();
    OwnerNames owners;
    if (fed_.knowledge) {
      owners = [knowledge = fed_.knowledge](const std::string& path) {
        return columnsOf((*knowledge)(FileURL(path))).owner;
      };
    }
    worker_.requestListing(requested_, owners);
  }
  if ((isRefresh && !state_.marks().empty()) || state_.marks().size() != requestedMarks_) {
    requestedMarks_ = state_.marks().size();
    worker_.requestUnion(state_.marks());
  }
}

void BrowseSession::takeResults(milliseconds wait) {
  BrowseWorker::Results results = worker_.take(wait);
  if (results.sum) state_.takeUnion(*results.sum);
  if (!results.listing) return;
  listingTime_ = Clock::now() - requestedAt_;
  state_.take(std::move(results.listing));
}

void BrowseSession::writeMarks() {
  std::vector<std::string> paths;
  for (const BrowseTree::Node node : state_.marks()) paths.push_back(tree_.path(node));
  state_.tell(options_.write(paths));
}

void BrowseSession::paint() {
  std::vector<ScreenLine> lines = paintFrame(frame());
  screen_.show(lines);
}

BrowseFrame BrowseSession::frame() {
  const BrowseScreen::Size size = screen_.size();
  const BrowseTree::Node folder = state_.request().folder;
  const bool hasDetails = state_.showsDetails() && state_.selectedItem();
  state_.setRows(browseLayout(size.height, hasDetails).rows);
  const std::string path = tree_.path(folder);
  BrowseFrame frame{.width = size.width,
                    .height = size.height,
                    .units = options_.units,
                    .isUTF8 = screen_.isUTF8(),
                    .path = path.starts_with('/') ? pathText(FileURL(path), options_.home) : path,
                    .folder = tree_.item(folder),
                    .request = state_.request(),
                    .showsHelp = state_.showsHelp(),
                    .isTyping = state_.isTyping(),
                    .message = state_.message(),
                    .marks = state_.marks().size(),
                    .marked = state_.markedUnion(),
                    .activities = activities()};
  addRows(frame);
  if (hasDetails) addDetails(frame);
  return frame;
}

void BrowseSession::addRows(BrowseFrame& frame) {
  const std::vector<BrowseTree::Node>& items = state_.items();
  const Listing* listing = state_.listing();
  frame.isListed = listing != nullptr && listing->request.folder == frame.request.folder;
  if (!frame.isListed) return;
  frame.largest = listing->largest;
  frame.shown = items.size();
  frame.all = listing->all;
  const bool isCovered = !items.empty() && state_.isCovered(items.front());
  const std::size_t rows = browseLayout(frame.height, state_.showsDetails()).rows;
  const std::size_t top = std::min(state_.top(), items.size());
  const std::span<const BrowseTree::Node> visible(items.data() + top, std::min(rows, items.size() - top));
  for (const BrowseTree::Item& item : tree_.items(visible)) {
    frame.largest = std::max(frame.largest, shownBytes(item.sizes, frame.request.size));
    frame.rows.push_back({.item = item,
                          .known = known(item),
                          .isMarked = state_.isMarked(item.node),
                          .isCovered = isCovered,
                          .isSelected = top + frame.rows.size() == state_.selected()});
  }
}

void BrowseSession::addDetails(BrowseFrame& frame) {
  const BrowseTree::Item item = tree_.item(*state_.selectedItem());
  const std::string path = tree_.path(item.node);
  BrowseDetails details{.path = path};
  details.lines.push_back(
      {"size", fmt::format("{} on disk, {} long, {}", sizeText(item.sizes.allocatedBytes, options_.units),
                           sizeText(item.sizes.logicalBytes, options_.units),
                           countText(static_cast<std::uint64_t>(item.files), "file"))});
  if (item.newest != FolderObserver::kNoTime) {
    constexpr std::int64_t kLast = 253'402'300'799;  // the year 9999
    const Date date{std::chrono::seconds(std::clamp(item.newest, -kLast, kLast))};
    details.lines.push_back({"changed", toISO8601(date)});
  }
  if (item.links > 1) {
    details.lines.push_back(
        {"names", fmt::format("the file has {} names; its space is free when all are gone", item.links)});
  }
  if (item.kind != BrowseTree::Kind::rest && path.starts_with('/')) {
    if (fed_.knowledge) {
      for (DetailLine& line : detailsOf((*fed_.knowledge)(FileURL(path)))) details.lines.push_back(std::move(line));
    } else if (fed_.isKnowledgeComing) {
      details.lines.push_back({"owner", "still being searched"});
    }
  }
  frame.details = std::move(details);
}

std::vector<std::string> BrowseSession::activities() const {
  std::vector<std::string> result;
  // While the tree grows, what is shown is always a little old.
  const bool isOld = fed_.isFilling ? state_.isWaiting() : hasNews_ || worker_.isBusy();
  if (isOld && state_.listing() != nullptr) result.emplace_back("sorting");
  if (fed_.isFilling) result.push_back("reading: " + countText(tree_.size() - 1, "item"));
  if (fed_.isKnowledgeComing) result.emplace_back("searching owners");
  if (!fed_.note.empty()) result.push_back(fed_.note);
  return result;
}

KnownColumns BrowseSession::known(const BrowseTree::Item& item) {
  if (!fed_.knowledge || item.kind == BrowseTree::Kind::rest) return {};
  if (const auto found = known_.find(item.node); found != known_.end()) return found->second;
  if (known_.size() >= kKnownItems) known_.clear();
  return known_[item.node] = columnsOf((*fed_.knowledge)(FileURL(tree_.path(item.node))));
}

}  // namespace quarn
