#pragma once

#include <functional>
#include <string>
#include <vector>

#include "QuarnModels/AppEntity.h"
#include "QuarnModels/SystemRecords.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// Reads the installer's receipts. A plain value; a test or a shell may replace the functions. None can fail.
struct ReceiptScanner {
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

  /// From /private/var/db/receipts, /Library/Apple/System/Library/Receipts and /Library/Receipts, in that order:
  /// property lists and the bills of materials of the same name, and packages ("X.pkg") of systems before 10.6. A file
  /// without a package identifier is no receipt; one without a readable bill lists no files. Each call reads each
  /// receipt's list and bill at most once and keeps nothing.
  static ReceiptScanner live(FileManager files);
  /// The same for a piece of work that asks several times, the inspection of an app or of all apps: what is first asked
  /// for is read once and kept, so that a change meanwhile does not show. Bills beyond a few megabytes in all are read
  /// again when they are needed again. Safe to use from several threads.
  static ReceiptScanner snapshot(FileManager files);
};

}  // namespace quarn
