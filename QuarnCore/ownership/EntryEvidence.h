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

/// The forms of an entry's name that the evidence rules compare.
struct EntryText {
  EntryText(const OwnershipPlace& place, std::string_view name, std::string_view folderName = {});

  const OwnershipPlace& place;
  std::string whole;       ///< the name in lower case
  std::string stem;        ///< without decorations, as written
  std::string lowercased;  ///< the stem in lower case
  std::string identifier;  ///< the stem in lower case, without team and "group."
  std::string team;        ///< the leading team, or empty
  bool isIdentifier;       ///< whether `identifier` looks like one
  std::string plainName;   ///< the stem without team and "group.", as written
  std::string key;         ///< the name key
  std::string folderKey;   ///< the name key of the vendor's folder around it, or empty
};

/// Apps with the same evidence for an entry.
struct EvidenceFind {
  EvidenceKind kind = EvidenceKind::otherIdentifierName;
  const AppList* apps = nullptr;
};

/// Compares names with an index of apps. Keeps references; safe from any thread.
class EntryEvidence {
 public:
  /// If a vendor has more apps than this, its identifier alone is no evidence: it hosts many developers, or the volume
  /// is hostile.
  static constexpr std::size_t kMostOfVendor = 3;

  EntryEvidence(const AppIndex& index, const std::vector<AppEntity>& apps, const std::vector<AppFacts>& facts)
      : index_(index), apps_(apps), facts_(facts) {}

  /// The evidence in a name, strongest first; only the strongest unless `all`.
  [[nodiscard]] std::vector<EvidenceFind> finds(const EntryText& entry, bool all) const;

  /// Sets the vendors (`AppIndex::vendorKey`) whose identifiers many developers use. Such an identifier alone is no
  /// evidence for the installed apps of the vendor.
  void setPooledVendors(std::unordered_set<std::string> vendors) { pooled_ = std::move(vendors); }

  /// How close an identifier is to those of installed apps.
  enum class Nearness : std::uint8_t {
    none,
    vendor,  ///< its vendor has installed apps, but none of them owns it
    name,    ///< a part of it is, or begins with, the name of an installed app or of its vendor
  };
  [[nodiscard]] Nearness nearness(const EntryText& entry) const;

 private:
  class Search;

  [[nodiscard]] bool isNearName(std::string_view part) const;
  [[nodiscard]] bool isCalledLikeItsApp(std::string_view vendor) const;

  const AppIndex& index_;
  const std::vector<AppEntity>& apps_;
  const std::vector<AppFacts>& facts_;
  std::unordered_set<std::string> pooled_;
};

}  // namespace quarn
