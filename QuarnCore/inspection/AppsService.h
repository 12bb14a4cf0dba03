#pragma once

#include <vector>

#include "QuarnModels/AppEntity.h"
#include "QuarnModels/SizeInfo.h"
#include "QuarnSystem/AppDiscoveryClient.h"
#include "QuarnSystem/FileSizeCalculator.h"

namespace quarn {

/// The list of installed apps and the size of one. A plain value that adds nothing to its two clients.
class AppsService {
 public:
  AppsService(AppDiscoveryClient appDiscovery, FileSizeCalculator fileSizeCalculator);

  /// The client's list, unchanged.
  [[nodiscard]] std::vector<AppEntity> discoverApps() const;
  /// Size of the app's bundle without hidden files. Throws the calculator's FileError unchanged.
  [[nodiscard]] SizeInfo calculateAppSize(const AppEntity& app) const;

 private:
  AppDiscoveryClient appDiscovery_;
  FileSizeCalculator fileSizeCalculator_;
};

}  // namespace quarn
