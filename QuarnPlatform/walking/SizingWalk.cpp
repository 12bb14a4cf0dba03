#include <algorithm>
#include <thread>

#include "QuarnPlatform/walking/SizingScheduler.h"
#include "QuarnPlatform/walking/SizingWorker.h"
#include "QuarnPlatform/walking/TreeSizer.h"

// The operations of `TreeSizer`: they put a scheduler and its workers together.

namespace quarn {
namespace {

constexpr unsigned kFewestThreads = 8;  // as many as may pay on any machine
constexpr unsigned kMostThreads = 16;

unsigned threadsThatMayPay() { return std::clamp(std::thread::hardware_concurrency(), kFewestThreads, kMostThreads); }

unsigned mostHelpers(unsigned threads) { return (threads != 0 ? threads : threadsThatMayPay()) - 1; }

class WholeTree : public Attribution {
 public:
  [[nodiscard]] std::optional<Step> folder(const Step& parent, std::string_view, bool) const override { return parent; }
  [[nodiscard]] std::optional<std::uint8_t> file(const Step& parent, std::string_view) const override {
    return parent.bucket;
  }
};

}  // namespace

std::shared_ptr<HelperCount> TreeSizer::makeHelperCount(unsigned threads) {
  return std::make_shared<HelperCount>(mostHelpers(threads), threads != 0 ? threads : HelperCount::furtherCores());
}

TreeSizer::Totals TreeSizer::totals(const FileManager& files, const FileURL& root, const Attribution& attribution,
                                    const Attribution::Step& rootStep, const Options& options) {
  try {
    SizingScheduler scheduler(files, root, attribution, options);
    if (options.cancellation.isCancelled()) return {};
    scheduler.setHelper([&scheduler] { SizingWorker(scheduler).work(); });
    SizingWorker caller(scheduler);
    caller.readRoot(rootStep);
    caller.work();
    return scheduler.finish();
  } catch (const SizeOverflow&) {
    throw SizeOverflow(root.path());
  }
}

ByteCounts TreeSizer::total(const FileManager& files, const FileURL& root, const Options& options) {
  return totals(files, root, WholeTree(), {}, options)[0];
}

}  // namespace quarn
