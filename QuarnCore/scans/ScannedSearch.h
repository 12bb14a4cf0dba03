#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "QuarnCore/folders/TopItemsService.h"
#include "QuarnCore/scans/Scan.h"
#include "QuarnCore/scans/ScannedAnswer.h"
#include "QuarnCore/scans/ScannedWays.h"

namespace quarn {

/// One search for the largest files and packages below several roots of a scan. Takes references: the arguments must
/// outlive it. Belongs to one thread. All operations throw ScanError and FileError.
class ScannedSearch {
 public:
  ScannedSearch(const Scan& scan, const std::vector<FileURL>& roots, const TopItemsService::SearchOptions& options);

  /// What `TopItemsService::topFilesRecursively` answered at the time of the scan.
  ScannedAnswer run();
  /// Those with a positive rank, largest first. May be called for several ranks, and not after `run`.
  ScannedAnswer ranked(ScannedRank rank);

 private:
  /// An item that may be among the largest.
  struct Candidate {
    std::size_t root = 0;
    std::uint32_t folder = 0;  ///< that contains it
    std::string name{};
    SizeInfo size{};
    bool isPackage = false;
    bool isHidden = false;
  };
  struct Found {
    std::uint32_t candidate;
    std::int64_t key;
  };
  /// The ids of a folder and of all below it.
  struct Ids {
    std::uint32_t first;
    std::uint32_t last;
    [[nodiscard]] bool hold(std::uint32_t folder) const { return first <= folder && folder <= last; }
  };

  void gather(std::size_t root);
  [[nodiscard]] std::vector<Ids> idsOfOthers(const ScannedFolder& folder, std::size_t root) const;
  template <class Key>
  void find(const Key& keyOf, std::int64_t floor);
  void countAll(TopItemsService::Met& met);
  void orderLikeAWalk();
  bool isWanted(const Candidate& candidate);
  [[nodiscard]] bool isFull(std::size_t count) const { return static_cast<long>(count) >= options_.limit; }
  [[nodiscard]] TopItem itemOf(const Candidate& candidate) const;

  const Scan& scan_;
  const std::vector<FileURL>& roots_;
  const TopItemsService::SearchOptions& options_;
  std::vector<std::optional<ScannedFolder>> folders_;  // of the roots
  ScannedAnswer answer_;
  std::vector<Candidate> candidates_;
  std::vector<Found> found_;
  std::map<std::size_t, ScannedWays> ways_;  // of each root that the scan has
};

}  // namespace quarn
