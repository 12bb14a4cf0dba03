#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuarnCore/ownership/AppIndex.h"
#include "QuarnCore/ownership/EntryEvidence.h"
#include "QuarnCore/ownership/Ownership.h"
#include "QuarnCore/ownership/OwnershipPlaces.h"
#include "QuarnCore/ownership/PathEvidence.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// What a map holds. Filled by `OwnershipBuilder`, then only read.
struct OwnershipState {
  static constexpr std::uint32_t kNone = UINT32_MAX;

  /// One entry in 24 bytes: a volume has hundreds of thousands.
  struct Entry {
    std::uint32_t nameAt = 0;
    std::uint32_t find = kNone;    ///< position in `finds`, of owned and shared entries
    std::uint32_t parent = kNone;  ///< the entry of the vendor's folder that holds it
    std::uint32_t former = kNone;  ///< position in `formers`, of orphaned entries
    std::uint16_t nameLength = 0;
    std::uint8_t place = 0;
    OwnershipStatus status = OwnershipStatus::unknown;
    EvidenceKind evidence = EvidenceKind::otherIdentifierName;
    OrphanKind orphan = OrphanKind::identifierName;
    bool isFolder = false;
  };
  struct Range {
    std::uint32_t begin = 0;
    std::uint32_t end = 0;
  };

  OwnershipState(std::vector<AppEntity> installedApps, std::vector<AppFacts> bundleFacts, FileManager volume)
      : apps(std::move(installedApps)),
        facts(std::move(bundleFacts)),
        index(apps, facts),
        evidence(index, apps, facts),
        paths(index, apps),
        files(std::move(volume)) {
    for (const OwnershipPlace& place : ownershipPlaces()) placeFolders.push_back(folderOf(place).path());
  }
  OwnershipState(const OwnershipState&) = delete;
  OwnershipState& operator=(const OwnershipState&) = delete;

  [[nodiscard]] std::string_view name(const Entry& entry) const {
    return std::string_view(names).substr(entry.nameAt, entry.nameLength);
  }
  [[nodiscard]] FileURL folderOf(const OwnershipPlace& place) const {
    return place.folder.starts_with('/') ? FileURL(place.folder) : files.homeDirectory().appending(place.folder);
  }
  [[nodiscard]] std::string path(const Entry& entry) const;
  [[nodiscard]] EntryText text(const Entry& entry) const;
  /// All that speaks for an entry, strongest first.
  [[nodiscard]] std::vector<EvidenceFind> allFinds(const Entry& entry) const;

  std::vector<AppEntity> apps;
  std::vector<AppFacts> facts;
  AppIndex index;
  EntryEvidence evidence;
  PathEvidence paths;
  FileManager files;

  std::vector<std::string> placeFolders;  ///< paths, in the order of the places
  std::string names;
  std::vector<Entry> entries;
  std::vector<Range> placeRanges;     ///< of a place's own entries, by place
  std::vector<Range> innerRanges;     ///< of what its vendors' folders hold, likewise
  std::vector<const AppList*> finds;  ///< the winners' lists
  std::deque<AppList> ownLists;       ///< lists that no index holds
  std::vector<FormerOwner> formers;
  bool isComplete = true;
};

}  // namespace quarn
