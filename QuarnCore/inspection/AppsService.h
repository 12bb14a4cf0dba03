#pragma once

#include <vector>

#include "QuarnModels/AppEntity.h"
#include "QuarnModels/SizeInfo.h"
#include "QuarnSystem/AppDiscoveryClient.h"
#include "QuarnSystem/FileSizeCalculator.h"

namespace quarn {

/// Lists the installed apps and sizes one of them, through its two clients.
class AppsService {
 public:
  AppsService(AppDiscoveryClient appDiscovery, FileSizeCalculator fileSizeCalculator);

  /// The list of the client, unchanged.
  [[nodiscard]] std::vector<AppEntity> discoverApps() const;
  /// The size of the app's bundle without hidden files. Throws the FileError of the calculator. If cancelled,
  /// the sum so far.
  [[nodiscard]] SizeInfo calculateAppSize(const AppEntity& app,
                                          const Cancellation& cancellation = Cancellation::never()) const;

 private:
  AppDiscoveryClient appDiscovery_;
  FileSizeCalculator fileSizeCalculator_;
};

}  // namespace quarn
