#include <vector>

#include "QuarnPlatform/walking/SizingScheduler.h"
#include "QuarnPlatform/walking/SizingWorker.h"
#include "QuarnPlatform/walking/TreeSizer.h"

// The operations of `TreeSizer`: they put a scheduler and its workers together.

namespace quarn {
namespace {

class WholeTree : public Attribution {
 public:
  [[nodiscard]] std::optional<Step> folder(const Step& parent, std::string_view, bool) const override { return parent; }
  [[nodiscard]] std::optional<std::uint8_t> file(const Step& parent, std::string_view) const override {
    return parent.bucket;
  }
  [[nodiscard]] std::optional<std::uint8_t> everyFile(const Step& parent) const override { return parent.bucket; }
};

}  // namespace

std::vector<TreeSizer::TreeTotals> TreeSizer::totals(const FileManager& files, const std::vector<Tree>& trees,
                                                     const Options& options) {
  SizingScheduler scheduler(files, trees, options);
  scheduler.setHelper([&scheduler] { SizingWorker(scheduler).work(); });
  SizingWorker(scheduler).work();
  return scheduler.finish();
}

TreeSizer::Totals TreeSizer::totals(const FileManager& files, const FileURL& root, const Attribution& attribution,
                                    const Attribution::Step& rootStep, const Options& options) {
  const std::vector<Tree> trees{{.root = root,
                                 .attribution = &attribution,
                                 .rootStep = rootStep,
                                 .hidden = options.hidden,
                                 .observedRoot = options.observedRoot}};
  const TreeTotals found = totals(files, trees, options).front();
  if (found.error) throw FileError(*found.error);
  return found.totals;
}

ByteCounts TreeSizer::total(const FileManager& files, const FileURL& root, const Options& options) {
  return totals(files, root, WholeTree(), {}, options)[0];
}

}  // namespace quarn
