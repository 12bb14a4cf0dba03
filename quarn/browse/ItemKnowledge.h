#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "QuarnCore/ownership/ItemOwners.h"
#include "QuarnCore/scans/Scan.h"

namespace quarn {

/// What is known of an item besides its size. A plain value.
struct KnownItem {
  ItemOwnership item{};  ///< `category` is that of the innermost category root around it
  std::optional<RiskLevel> risk{};
  ArtifactDataClass dataClass = ArtifactDataClass::unknown;
  std::string title{};  ///< of the artifact of an inspection, or of the vendor's path
  std::optional<std::string> explanation{};
};

/// The columns of an item; empty where nothing is known.
struct KnownColumns {
  std::string owner{};
  std::string category{};
  std::optional<RiskLevel> risk{};
  friend bool operator==(const KnownColumns&, const KnownColumns&) = default;
};

/// A line of the details of an item.
struct DetailLine {
  std::string name{};
  std::string text{};
  friend bool operator==(const DetailLine&, const DetailLine&) = default;
};

/// Knows items by their paths. Safe from any thread.
using ItemKnowledge = std::function<KnownItem(const FileURL&)>;

/// By the map of the volume, its receipts, the vendors' paths and the categories.
ItemKnowledge knowledgeOfVolume(std::shared_ptr<const ItemOwners> owners);

/// The tables of a scan that speak of owners.
struct ScannedKnowledge {
  explicit ScannedKnowledge(const Scan& scan);

  HomeFolders homes;  ///< of a scan of all users
  std::vector<Ownership> entries;
  std::vector<ScannedApp> apps;
  std::vector<ScannedRoot> roots;
};
/// By what the scan says of entries, apps, artifacts and categories.
ItemKnowledge knowledgeOfScan(ScannedKnowledge tables);

KnownColumns columnsOf(const KnownItem& known);
/// Whose the item is and why, what removing it would mean, the rivals, and what it is.
std::vector<DetailLine> detailsOf(const KnownItem& known);

}  // namespace quarn
