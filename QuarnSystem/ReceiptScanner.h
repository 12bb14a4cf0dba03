#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "QuarnSystem/ReceiptSnapshot.h"

namespace quarn {

/// Reads installer receipts. Replaceable, for example in tests. No function can fail.
///
/// Each operation reads all receipts again. For several queries, take one snapshot and query it.
struct ReceiptScanner {
  /// Reads the receipts.
  std::function<ReceiptSnapshot()> snapshot;

  /// See the functions of `ReceiptSnapshot`.
  [[nodiscard]] std::vector<ReceiptInfo> allReceipts() const { return snapshot().allReceipts(); }
  [[nodiscard]] std::vector<ReceiptInfo> receiptsMatching(const AppEntity& app) const {
    return snapshot().receiptsMatching(app);
  }
  [[nodiscard]] std::vector<std::string> packageIDs(const std::string& forFileAtPath) const {
    return snapshot().packageIDs(forFileAtPath);
  }
  [[nodiscard]] bool matches(const AppEntity& app, const std::string& packageID) const {
    return snapshot().matches(app, packageID);
  }

  /// Reads the receipts of a volume for each snapshot.
  static ReceiptScanner live(FileManager files) {
    return {.snapshot = [files = std::move(files)] { return ReceiptSnapshot::of(files); }};
  }
  /// Always returns the same snapshot. For several operations, such as inspecting all apps.
  static ReceiptScanner answering(ReceiptSnapshot receipts) {
    return {.snapshot = [receipts = std::move(receipts)] { return receipts; }};
  }
};

}  // namespace quarn
