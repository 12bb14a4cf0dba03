#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "QuarnSystem/ReceiptSnapshot.h"

namespace quarn {

/// Reads the installer's receipts. A plain value; a test or a shell may replace the function. Nothing can fail.
///
/// Whoever has several questions takes one snapshot and asks that: each of the scanner's own operations reads all
/// receipts again.
struct ReceiptScanner {
  /// The receipts as they are now.
  std::function<ReceiptSnapshot()> snapshot;

  /// See the functions of the same names in `ReceiptSnapshot`.
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

  /// The receipts of a volume, read anew for each snapshot.
  static ReceiptScanner live(FileManager files) {
    return {.snapshot = [files = std::move(files)] { return ReceiptSnapshot::of(files); }};
  }
  /// Always the same snapshot: for work of several operations, as the inspection of all apps.
  static ReceiptScanner answering(ReceiptSnapshot receipts) {
    return {.snapshot = [receipts = std::move(receipts)] { return receipts; }};
  }
};

}  // namespace quarn
