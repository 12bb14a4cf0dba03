#pragma once

#include <vector>

#include "QuarnModels/AppEntity.h"
#include "QuarnModels/SystemRecords.h"
#include "QuarnPlatform/FileManager.h"

namespace quarn {

/// Finds the uninstallers that vendors ship inside an app's bundle or beside it. A plain value; never fails.
class UninstallerDiscoveryService {
 public:
  explicit UninstallerDiscoveryService(FileManager files);

  /// Higher confidence first, equal ones by name. Visits at most 20,000 entries of the bundle.
  [[nodiscard]] std::vector<UninstallerCandidate> findUninstallers(const AppEntity& app) const;

 private:
  FileManager files_;
};

}  // namespace quarn
