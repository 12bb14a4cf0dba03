#pragma once

#include <functional>
#include <vector>

#include "QuarnModels/AppEntity.h"
#include "QuarnModels/SystemRecords.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// Finds uninstallers in an app's bundle or beside it. Never fails.
class UninstallerDiscoveryService {
 public:
  explicit UninstallerDiscoveryService(FileManager files);

  /// Finds items that have the name of an uninstaller and can be opened or run. In the bundle (without hidden items
  /// and nested packages, at most 20,000 entries) the confidence is 1. Directly beside the bundle it is 0.8 if the
  /// name contains the app's name, else 0.7. Sorted by descending confidence, then by name; each path occurs once.
  /// If cancelled, those found so far.
  [[nodiscard]] std::vector<UninstallerCandidate> findUninstallers(
      const AppEntity& app, const Cancellation& cancellation = Cancellation::never()) const;

  /// Returns the function `findUninstallers` for many apps, which lists each folder of apps once. Use it from one
  /// thread.
  [[nodiscard]] std::function<std::vector<UninstallerCandidate>(const AppEntity& app)> forManyApps(
      const Cancellation& cancellation) const;

 private:
  FileManager files_;
};

}  // namespace quarn
