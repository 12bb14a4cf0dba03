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
  return mapOf(files_, readSources(apps, options, cancellation), options, progress, cancellation);
}

UsersMap OwnershipService::mapOfUsers(const HomeFolders& homes, const std::vector<AppEntity>& apps,
                                      const Options& options, const Progress& progress,
                                      const Cancellation& cancellation) const {
  const std::shared_ptr<OwnershipSources> sources = readSources(apps, options, cancellation);
  sources->keepsListings = homes.urls().size() > 1;
  std::vector<OwnershipMap> maps;
  for (const FileURL& home : homes.urls()) {
    maps.push_back(mapOf(files_.withHome(home), sources, options, progress, cancellation));
  }
  sources->listings.clear();
  return {homes, std::move(maps)};
}

std::shared_ptr<OwnershipSources> OwnershipService::readSources(const std::vector<AppEntity>& apps,
                                                                const Options& options,
                                                                const Cancellation& cancellation) const {
  std::vector<AppFacts> facts;
  if (options.readBundles) facts = readAppFacts(files_, entitlementsReader_, apps, cancellation);
  auto sources = std::make_shared<OwnershipSources>(apps, std::move(facts));
  if (options.includeReceipts) sources->receipts = receiptScanner_.allReceipts();
  if (options.includeLaunchd) sources->jobs = launchdScanner_.scan();
  return sources;
}

OwnershipMap OwnershipService::mapOf(const FileManager& files, const std::shared_ptr<OwnershipSources>& sources,
                                     const Options& options, const Progress& progress,
                                     const Cancellation& cancellation) const {
  const auto state = std::make_shared<OwnershipState>(sources, files);
  state->paths.addReceipts(sources->receipts, files);
  state->paths.addJobs(sources->jobs, files);
  if (options.includeProfiles) state->paths.addProfiles(vendorProfiles_, files);
  buildOwnership(*state, options.includeSystem, progress, cancellation);
  return OwnershipMap(state);
}

}  // namespace quarn
