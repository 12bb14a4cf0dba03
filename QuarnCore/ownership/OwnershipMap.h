#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuarnCore/ownership/Ownership.h"
#include "QuarnModels/AppEntity.h"
#include "QuarnPlatform/paths/FileURL.h"

namespace quarn {

struct OwnershipState;

/// Whose the entries of the app-data folders are, as they were when it was made. Entries are packed; their records are
/// made when they are asked for, with rivals. A plain value whose copies share what they hold; safe from any thread.
class OwnershipMap {
 public:
  explicit OwnershipMap(std::shared_ptr<const OwnershipState> state);

  /// False when the map was cancelled before its end.
  [[nodiscard]] bool isComplete() const;
  [[nodiscard]] const std::vector<AppEntity>& apps() const;

  /// The number of entries: place by place in the order of the table, names ascending, what a vendor's folder holds
  /// after the entries of the place.
  [[nodiscard]] std::size_t size() const;
  [[nodiscard]] Ownership ownership(std::size_t entry) const;
  /// The same without rivals, which cost another look at the entry's evidence.
  [[nodiscard]] Ownership ownershipWithoutRivals(std::size_t entry) const;
  [[nodiscard]] OwnershipStatus status(std::size_t entry) const;
  [[nodiscard]] ArtifactScope scope(std::size_t entry) const;
  /// Of an orphaned entry. Lives as long as a copy of the map.
  [[nodiscard]] const FormerOwner& formerOwner(std::size_t entry) const;
  [[nodiscard]] FileURL url(std::size_t entry) const;
  /// The apps that own it, as positions in `apps()`, `Ownership::kMostListed` at most; empty unless owned or shared.
  [[nodiscard]] std::vector<std::uint32_t> owners(std::size_t entry) const;
  /// What decided; meaningful for owned and shared entries.
  [[nodiscard]] EvidenceKind evidence(std::size_t entry) const;

  /// The innermost entry that is, or contains, a standardised path.
  [[nodiscard]] std::optional<std::size_t> entryAround(std::string_view path) const;

  /// Whether the path holds an entry, or is one, that an app other than that of this bundle owns or shares.
  [[nodiscard]] bool holdsEntriesOfOthers(std::string_view path, const FileURL& bundle) const;

  /// The ownership of any standardised path: that of the entry around it, unless an item on the way down has stronger
  /// evidence of its own by an identifier. In an app's bundle the app is the owner. Elsewhere it is the app of one of
  /// `packages`, the identifiers of the packages that list the path; else the status is unknown.
  [[nodiscard]] Ownership owners(const FileURL& url, const std::vector<std::string>& packages = {}) const;

 private:
  std::shared_ptr<const OwnershipState> state_;
};

}  // namespace quarn
