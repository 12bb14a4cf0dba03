#pragma once

#include <vector>

#include "QuarnModels/AppEntity.h"
#include "QuarnModels/SystemRecords.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// Finds the uninstallers that vendors ship inside an app's bundle or beside it. A plain value; never fails.
class UninstallerDiscoveryService {
 public:
  explicit UninstallerDiscoveryService(FileManager files);

  /// Items named like an uninstaller that can be opened or run: anywhere in the bundle (hidden items and nested
  /// packages not entered, 20,000 entries visited at most), with confidence 1, and directly beside it, with 0.8 when
  /// they name the app and 0.7 otherwise. Higher confidence first, equal ones by name; each path once.
  [[nodiscard]] std::vector<UninstallerCandidate> findUninstallers(const AppEntity& app) const;

 private:
  FileManager files_;
};

}  // namespace quarn
