#include "quarn/commands/BrowseSources.h"

#include <utility>

#include "QuarnPlatform/base/HelperThread.h"
#include "quarn/browse/BrowseFill.h"

namespace quarn {
namespace {

// Services of their own, whose every listing and lookup stops when the browser ends.
ItemKnowledge ownersOfVolume(const Services& services, const Cancellation& cancellation) {
  const Services own(services.files.cancelledBy(cancellation), services.resources);
  OwnershipMap map =
      own.ownership().map(own.appsService().discoverApps(), OwnershipService::kEverything, nullptr, cancellation);
  auto owners = std::make_shared<const ItemOwners>(std::move(map), own.receiptScanner.snapshot(),
                                                   own.storageDashboard(), cancellation);
  // A partial map would name wrong owners.
  return cancellation.isCancelled() ? nullptr : knowledgeOfVolume(std::move(owners));
}

}  // namespace

BrowseSources::~BrowseSources() {
  cancellation_.cancel();
  for (std::thread& thread : threads_) thread.join();
}

void BrowseSources::start(std::function<void()> work) {
  threads_.emplace_back([this, work = std::move(work)] {
    becomeHelperThread();
    try {
      work();
    } catch (...) {
      feed_.fail();
    }
  });
}

void BrowseSources::startVolume(const Services& services, const Place& place) {
  start([this, &services, place] {
    if (place.isCategory) {
      fillFromRoots(tree_, services.files, place.folders, cancellation_);
    } else {
      fillFromFolder(tree_, services.files, place.folders.front(), cancellation_);
    }
    feed_.endFilling();
  });
  start([this, &services] { feed_.endKnowledge(ownersOfVolume(services, cancellation_)); });
}

void BrowseSources::startScan(const Scan& scan, const Place& place) {
  start([this, &scan, place] {
    if (place.isCategory) {
      fillFromScan(tree_, scan, place.folders, cancellation_);
    } else {
      fillFromScan(tree_, scan, *scan.folder(place.folders.front().path()), cancellation_);
    }
    feed_.endFilling();
    if (!cancellation_.isCancelled()) feed_.endKnowledge(knowledgeOfScan(ScannedKnowledge(scan)));
  });
}

}  // namespace quarn
