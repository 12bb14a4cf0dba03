#include "QuarnCore/ownership/OwnershipService.h"

#include <memory>
#include <utility>

#include "QuarnCore/ownership/AppFactsReader.h"
#include "QuarnCore/ownership/OwnershipBuilder.h"
#include "QuarnCore/ownership/OwnershipState.h"

namespace quarn {

OwnershipService::OwnershipService(VendorProfileRegistry vendorProfiles, EntitlementsReader entitlementsReader,
                                   LaunchdScanner launchdScanner, ReceiptScanner receiptScanner, FileManager files)
    : vendorProfiles_(std::move(vendorProfiles)),
      entitlementsReader_(std::move(entitlementsReader)),
      launchdScanner_(std::move(launchdScanner)),
      receiptScanner_(std::move(receiptScanner)),
      files_(std::move(files)) {}

OwnershipMap OwnershipService::map(const std::vector<AppEntity>& apps, const Options& options, const Progress& progress,
                                   const Cancellation& cancellation) const {
  std::vector<AppFacts> facts;
  if (options.readBundles) facts = readAppFacts(files_, entitlementsReader_, apps, cancellation);
  const auto state = std::make_shared<OwnershipState>(apps, std::move(facts), files_);
  if (options.includeReceipts) state->paths.addReceipts(receiptScanner_.allReceipts(), files_);
  if (options.includeLaunchd) state->paths.addJobs(launchdScanner_.scan(), files_);
  if (options.includeProfiles) state->paths.addProfiles(vendorProfiles_, files_);
  buildOwnership(*state, options.includeSystem, progress, cancellation);
  return OwnershipMap(state);
}

}  // namespace quarn
