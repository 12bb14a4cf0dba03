#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "QuarnModels/AppEntity.h"
#include "QuarnModels/SystemRecords.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// What the installer's receipts say, as they were when they were first asked for: an operation takes one snapshot and
/// asks it as often as it likes. A plain value; copies share what was read. A test or a shell may replace the
/// functions. None can fail.
struct ReceiptSnapshot {
  /// Every receipt, by package identifier ascending.
  std::function<std::vector<ReceiptInfo>()> allReceipts;
  /// The receipts whose package belongs to the app (see `matches`), by package identifier ascending.
  std::function<std::vector<ReceiptInfo>(const AppEntity& app)> receiptsMatching;
  /// Identifiers of the packages that list a path, standardised (folders count, the install location too), ascending
  /// and each once.
  std::function<std::vector<std::string>(const std::string& forFileAtPath)> packageIDs;
  /// Whether a package belongs to the app: letter case ignored, its identifier equals the bundle identifier or begins
  /// with it followed by "."; or its receipt lists the app's bundle or something in it.
  std::function<bool(const AppEntity& app, const std::string& packageID)> matches;

  /// How much of the bills is kept in memory: a bill takes the bytes of its paths and five more for each. A bill that
  /// no longer fits is read again for each question that needs it.
  static constexpr std::size_t kMostBillBytes = std::size_t{64} << 20;

  /// The receipts of a volume (see `readReceiptFiles`). Reads nothing before the first question; then each property
  /// list and each bill once, within the limits of one operation (Limits.h). A receipt without a readable bill lists no
  /// files. Safe to use from several threads.
  static ReceiptSnapshot of(const FileManager& files, std::size_t mostBillBytes = kMostBillBytes);
};

}  // namespace quarn
