#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "QuarnCore/ownership/AppIndex.h"
#include "QuarnCore/ownership/EntryEvidence.h"
#include "QuarnCore/ownership/Ownership.h"
#include "QuarnCore/ownership/OwnershipPlaces.h"
#include "QuarnCore/ownership/PathEvidence.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// What the maps of several users of one volume share.
struct OwnershipSources {
  struct Listed {
    std::string name;
    bool isFolder;
  };
  using Listing = std::vector<Listed>;  ///< by name

  OwnershipSources(std::vector<AppEntity> installedApps, std::vector<AppFacts> bundleFacts)
      : apps(std::move(installedApps)), facts(std::move(bundleFacts)), index(apps, facts) {}
  OwnershipSources(const OwnershipSources&) = delete;
  OwnershipSources& operator=(const OwnershipSources&) = delete;

  const std::vector<AppEntity> apps;
  const std::vector<AppFacts> facts;
  const AppIndex index;
  std::vector<ReceiptInfo> receipts;
  std::vector<LaunchdEntry> jobs;
  /// The folders in places outside home folders, which every map lists; kept only while several maps are built.
  bool keepsListings = false;
  std::unordered_map<std::string, Listing> listings;
};

/// The contents of a map. `OwnershipBuilder` fills it; then it is read-only.
struct OwnershipState {
  static constexpr std::uint32_t kNone = UINT32_MAX;

  /// An entry. Small, because a volume may have hundreds of thousands of them.
  struct Entry {
    std::uint32_t nameAt = 0;
    std::uint32_t find = kNone;    ///< position in `finds`; owned and shared entries only
    std::uint32_t parent = kNone;  ///< the vendor's folder that contains it
    std::uint32_t former = kNone;  ///< position in `formers`; orphaned entries only
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

  OwnershipState(std::shared_ptr<OwnershipSources> shared, FileManager volume)
      : sources(std::move(shared)),
        apps(sources->apps),
        index(sources->index),
        evidence(index, apps, sources->facts),
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
  /// All evidence for an entry, strongest first.
  [[nodiscard]] std::vector<EvidenceFind> allFinds(const Entry& entry) const;

  const std::shared_ptr<OwnershipSources> sources;
  const std::vector<AppEntity>& apps;  // of the sources
  const AppIndex& index;
  EntryEvidence evidence;
  PathEvidence paths;
  FileManager files;

  std::vector<std::string> placeFolders;  ///< paths, in the order of the places
  std::string names;
  std::vector<Entry> entries;
  std::vector<Range> placeRanges;     ///< the entries of each place, by place
  std::vector<Range> innerRanges;     ///< the entries in its vendors' folders, by place
  std::vector<const AppList*> finds;  ///< the apps with the strongest evidence
  std::deque<AppList> ownLists;       ///< lists that are in no index
  std::vector<FormerOwner> formers;
  bool isComplete = true;
};

}  // namespace quarn
