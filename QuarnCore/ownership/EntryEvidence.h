#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "QuarnCore/ownership/AppIndex.h"
#include "QuarnCore/ownership/Ownership.h"
#include "QuarnCore/ownership/OwnershipPlaces.h"

namespace quarn {

/// An entry's name as the evidence rules read it.
struct EntryText {
  EntryText(const OwnershipPlace& place, std::string_view name, std::string_view folderName = {});

  const OwnershipPlace& place;
  std::string whole;       ///< the name in lower case
  std::string stem;        ///< without decorations, as written
  std::string lowercased;  ///< the stem in lower case
  std::string identifier;  ///< the same without team and "group."
  std::string team;        ///< the team before it, or empty
  bool isIdentifier;       ///< whether `identifier` has the shape of one
  std::string plainName;   ///< the stem without team and "group.", as written
  std::string key;         ///< its name key
  std::string folderKey;   ///< of the vendor's folder that holds the entry, or empty
};

/// Apps and the evidence that they have in common.
struct EvidenceFind {
  EvidenceKind kind = EvidenceKind::otherIdentifierName;
  const AppList* apps = nullptr;
};

/// Judges names against an index of apps. Keeps references; safe from any thread.
class EntryEvidence {
 public:
  /// More apps than this share no vendor's entries: it is a host of many developers, or a volume made to hurt.
  static constexpr std::size_t kMostOfVendor = 3;

  EntryEvidence(const AppIndex& index, const std::vector<AppEntity>& apps, const std::vector<AppFacts>& facts)
      : index_(index), apps_(apps), facts_(facts) {}

  /// What a name says, strongest first; ends early with the first find unless `all`.
  [[nodiscard]] std::vector<EvidenceFind> finds(const EntryText& entry, bool all) const;

  /// The vendors, by `AppIndex::vendorKey`, under whose identifiers developers of all kinds are found: none of their
  /// apps owns what another one may have left.
  void setPooledVendors(std::unordered_set<std::string> vendors) { pooled_ = std::move(vendors); }

  /// How near an identifier is to what is installed.
  enum class Nearness : std::uint8_t {
    none,
    vendor,  ///< its vendor has installed apps, of which none can be said to own it
    name,    ///< some part of it is, or begins with, the name of an installed app or of its vendor
  };
  [[nodiscard]] Nearness nearness(const EntryText& entry) const;

 private:
  class Search;

  [[nodiscard]] bool isNearName(std::string_view part) const;

  const AppIndex& index_;
  const std::vector<AppEntity>& apps_;
  const std::vector<AppFacts>& facts_;
  std::unordered_set<std::string> pooled_;
};

}  // namespace quarn
