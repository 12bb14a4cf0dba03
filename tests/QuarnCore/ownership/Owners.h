#pragma once

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "QuarnCore/ownership/OwnershipService.h"
#include "QuarnSystem/AppDiscoveryClient.h"
#include "tests/support/MacVolume.h"

namespace quarn {

/// A map of a volume with the apps that are found on it; clients are live until a test replaces them.
struct Mapper {
  explicit Mapper(const MacVolume& volume)
      : files(volume.files()),
        entitlements(EntitlementsReader::live(files)),
        launchd(LaunchdScanner::live(files)),
        receipts(ReceiptScanner::live(files)) {}

  [[nodiscard]] OwnershipMap map(const Cancellation& cancellation = Cancellation::never()) const {
    return service().map(AppDiscoveryClient::live(files).discoverApplications(), OwnershipService::kEverything, nullptr,
                         cancellation);
  }
  [[nodiscard]] OwnershipService service() const {
    return {VendorProfileRegistry(profiles), entitlements, launchd, receipts, files};
  }

  FileManager files;
  EntitlementsReader entitlements;
  LaunchdScanner launchd;
  ReceiptScanner receipts;
  std::vector<VendorProfile> profiles;
};

/// "owned Example identifier", "shared A B name", "orphaned com.old.App identifierName", "system", "unknown".
inline std::string ownerLine(const Ownership& ownership) {
  std::string line(rawValue(ownership.status));
  std::vector<std::string> names;
  for (const OwnershipClaim& owner : ownership.owners) names.push_back(owner.appName);
  std::sort(names.begin(), names.end());
  for (const std::string& name : names) line += " " + name;
  if (!ownership.owners.empty()) line += " " + std::string(rawValue(ownership.owners.front().evidence));
  if (ownership.formerOwner)
    line += " " + ownership.formerOwner->name + " " + std::string(rawValue(*ownership.orphanKind));
  return line;
}

inline std::string ownerOf(const MacVolume& volume, const OwnershipMap& map, std::string_view path) {
  return ownerLine(map.owners(volume.url(path)));
}

}  // namespace quarn
