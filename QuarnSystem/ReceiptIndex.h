#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "QuarnPlatform/paths/PackedPaths.h"
#include "QuarnSystem/ReceiptFiles.h"

namespace quarn {

/// Finds the receipts that may belong to an app, for many apps: by package identifier, and by the app bundles that the
/// bills list. A lookup takes a few hash lookups, whatever the number of receipts. Built once; then safe from any
/// thread.
class ReceiptIndex {
 public:
  /// More listed bundles than this are not indexed: only a hostile bill has them.
  static constexpr std::size_t kMostBundles = 200'000;

  explicit ReceiptIndex(const std::vector<ReceiptFile>& receipts);
  /// Adds the bill of the receipt at `index`. Add the bills in the order of the receipts.
  void addBill(std::size_t index, const ReceiptFile& receipt, const PackedPaths& bill);

  /// False if the bills list too many bundles; `listing` is then incomplete.
  [[nodiscard]] bool isComplete() const { return isComplete_; }

  /// The receipts with a package identifier that equals this one or continues it with ".", ignoring case. Ascending.
  [[nodiscard]] std::vector<std::size_t> named(std::string_view bundleIdentifier) const;
  /// The receipts with bills that list this bundle or something in it. The path must have the extension "app", in any
  /// case; it is compared as bytes. Ascending.
  [[nodiscard]] std::vector<std::size_t> listing(std::string_view bundlePath) const;

  static bool isBundlePath(std::string_view path);

 private:
  void addBundlesAround(std::size_t index, std::string_view path, std::size_t from);

  std::vector<std::pair<std::string, std::uint32_t>> identifiers_;  // in lower case, sorted
  std::unordered_map<std::string, std::vector<std::uint32_t>> bundles_;
  bool isComplete_ = true;
};

}  // namespace quarn
