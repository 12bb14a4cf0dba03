#include "QuarnCore/inspection/AppsService.h"

namespace quarn {

AppsService::AppsService(AppDiscoveryClient appDiscovery, FileSizeCalculator fileSizeCalculator)
    : appDiscovery_(std::move(appDiscovery)), fileSizeCalculator_(std::move(fileSizeCalculator)) {}

std::vector<AppEntity> AppsService::discoverApps() const { return appDiscovery_.discoverApplications(); }

SizeInfo AppsService::calculateAppSize(const AppEntity& app, const Cancellation& cancellation) const {
  return fileSizeCalculator_.itemSize(app.bundleURL, /*allowSlow=*/true, /*includeHidden=*/false, cancellation);
}

}  // namespace quarn
