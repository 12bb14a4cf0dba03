#include "QuarnSystem/ReceiptIndex.h"

#include <algorithm>

#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/text/Text.h"

namespace quarn {
namespace {

constexpr std::string_view kEnding = ".app";

// Whether the text at this position is ".app" in any case and ends a component.
bool endsBundleAt(std::string_view path, std::size_t dot) {
  const std::size_t end = dot + kEnding.size();
  if (end > path.size() || (end < path.size() && path[end] != '/')) return false;
  return std::equal(kEnding.begin(), kEnding.end(), path.begin() + static_cast<std::ptrdiff_t>(dot),
                    [](char wanted, char given) { return wanted == given || (wanted | 0x20) == (given | 0x20); });
}

std::size_t commonLength(std::string_view left, std::string_view right) {
  const auto ends = std::mismatch(left.begin(), left.end(), right.begin(), right.end());
  return static_cast<std::size_t>(ends.first - left.begin());
}

}  // namespace

ReceiptIndex::ReceiptIndex(const std::vector<ReceiptFile>& receipts) {
  identifiers_.reserve(receipts.size());
  for (std::size_t i = 0; i < receipts.size(); ++i) {
    identifiers_.emplace_back(Text::lowercased(receipts[i].identifier), static_cast<std::uint32_t>(i));
  }
  std::sort(identifiers_.begin(), identifiers_.end());
}

bool ReceiptIndex::isBundlePath(std::string_view path) {
  return path.size() > kEnding.size() && endsBundleAt(path, path.size() - kEnding.size());
}

void ReceiptIndex::addBill(std::size_t index, const ReceiptFile& receipt, const PackedPaths& bill) {
  const std::string base = receipt.installLocation;
  addBundlesAround(index, base, 0);
  std::string last = base;
  for (std::size_t i = 0; i < bill.size(); ++i) {
    std::string path = path::join(base, bill[i].path);
    // The bundles around the beginning that the previous path had too are known.
    const std::size_t same = commonLength(path, last);
    addBundlesAround(index, path, same < kEnding.size() ? 0 : same - kEnding.size());
    last = std::move(path);
  }
}

void ReceiptIndex::addBundlesAround(std::size_t index, std::string_view path, std::size_t from) {
  for (std::size_t dot = path.find('.', from); dot != std::string_view::npos; dot = path.find('.', dot + 1)) {
    if (!endsBundleAt(path, dot)) continue;
    if (bundles_.size() >= kMostBundles) {
      isComplete_ = false;
      return;
    }
    std::vector<std::uint32_t>& receipts = bundles_[std::string(path.substr(0, dot + kEnding.size()))];
    const auto receipt = static_cast<std::uint32_t>(index);
    if (receipts.empty() || receipts.back() != receipt) receipts.push_back(receipt);
  }
}

std::vector<std::size_t> ReceiptIndex::named(std::string_view bundleIdentifier) const {
  std::vector<std::size_t> found;
  if (bundleIdentifier.empty()) return found;
  const std::string exact = Text::lowercased(bundleIdentifier);
  const std::string beginning = exact + ".";
  const auto from = [&](const std::string& text) {
    return std::lower_bound(identifiers_.begin(), identifiers_.end(), std::pair(text, std::uint32_t{0}));
  };
  for (auto at = from(exact); at != identifiers_.end() && at->first == exact; ++at) found.push_back(at->second);
  for (auto at = from(beginning); at != identifiers_.end() && at->first.starts_with(beginning); ++at) {
    found.push_back(at->second);
  }
  std::sort(found.begin(), found.end());
  return found;
}

std::vector<std::size_t> ReceiptIndex::listing(std::string_view bundlePath) const {
  const auto found = bundles_.find(std::string(bundlePath));
  if (found == bundles_.end()) return {};
  return {found->second.begin(), found->second.end()};
}

}  // namespace quarn
