#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "QuarnModels/AppEntity.h"
#include "QuarnModels/SystemRecords.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// The installer receipts at the time of the first query. Take one snapshot per operation. Copies share the data. The
/// functions are replaceable, for example in tests; none can fail.
struct ReceiptSnapshot {
  /// All receipts, sorted by package identifier.
  std::function<std::vector<ReceiptInfo>()> allReceipts;
  /// The receipts of the packages that belong to the app (see `matches`), sorted by package identifier.
  std::function<std::vector<ReceiptInfo>(const AppEntity& app)> receiptsMatching;
  /// The identifiers of the packages that list a path (standardised; folders and the install location count), sorted,
  /// without duplicates.
  std::function<std::vector<std::string>(const std::string& forFileAtPath)> packageIDs;
  /// True if a package belongs to the app: its identifier equals the bundle identifier or continues it with "."
  /// (ignoring case), or its receipt lists the app's bundle or something in it.
  std::function<bool(const AppEntity& app, const std::string& packageID)> matches;

  /// Limit for cached bills. A bill takes the bytes of its paths plus five per path. Beyond the limit, bills are read
  /// again for each query.
  static constexpr std::size_t kMostBillBytes = std::size_t{64} << 20;

  /// A snapshot of a volume (see `readReceiptFiles`). Reads nothing before the first query, then each property list
  /// and each bill once. A receipt without a readable bill lists no files. Thread-safe. Reads within
  /// the limits of one operation (Limits.h).
  static ReceiptSnapshot of(const FileManager& files, std::size_t mostBillBytes = kMostBillBytes);
};

}  // namespace quarn
