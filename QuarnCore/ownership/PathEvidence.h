#pragma once

#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "QuarnCore/ownership/AppIndex.h"
#include "QuarnCore/ownership/EntryEvidence.h"
#include "QuarnCore/ownership/Ownership.h"
#include "QuarnCore/vendors/VendorProfileRegistry.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnPlatform/paths/PathTrie.h"
#include "QuarnSystem/LaunchdScanner.h"
#include "QuarnSystem/ReceiptScanner.h"

namespace quarn {

/// What files elsewhere say of paths: receipts, launchd jobs, vendor profiles. Built once, then read from any thread.
class PathEvidence {
 public:
  /// A former app that something names the owner of a path.
  struct Former {
    OrphanKind kind;
    FormerOwner owner;
  };

  /// `index` and `apps` must outlive the building.
  PathEvidence(const AppIndex& index, const std::vector<AppEntity>& apps);

  void addReceipts(const std::vector<ReceiptInfo>& receipts, const FileManager& files);
  void addJobs(const std::vector<LaunchdEntry>& jobs, const FileManager& files);
  void addProfiles(const VendorProfileRegistry& profiles, const FileManager& files);

  /// What is known of an entry, strongest first.
  [[nodiscard]] std::vector<EvidenceFind> finds(std::string_view path) const;
  /// The former app of an entry that no installed app owns.
  [[nodiscard]] const Former* former(std::string_view path) const;
  /// Whether the launchd job at this path runs a program that exists and does not belong to an app.
  [[nodiscard]] bool isWorkingJob(std::string_view path) const { return workingJobs_.contains(std::string(path)); }
  /// The apps whose identifier a package's identifier equals or continues; null if there are none.
  [[nodiscard]] const AppList* appsOfPackage(std::string_view packageIdentifier) const;
  /// The app whose bundle holds the path.
  [[nodiscard]] std::optional<std::uint32_t> appAround(std::string_view path) const;

 private:
  /// The path of the entry that is, or contains, this path. Empty if the path is not in a place.
  [[nodiscard]] std::string entryOf(std::string_view path, const FileManager& files);
  void add(std::string entry, EvidenceKind kind, const AppList& apps);
  void addReceipt(const ReceiptInfo& receipt, const FileManager& files);
  [[nodiscard]] AppList appsOf(const ReceiptInfo& receipt, const FileManager& files, std::string& goneApp) const;

  struct Find {
    EvidenceKind kind;
    AppList apps;
  };
  const AppIndex& index_;
  const std::vector<AppEntity>& apps_;
  PathTrie<std::uint32_t> bundles_;
  PathTrie<char> places_;
  bool hasPlaces_ = false;
  std::unordered_map<std::string, std::vector<Find>> finds_;
  std::unordered_map<std::string, Former> former_;
  std::unordered_map<std::string, char> workingJobs_;
};

}  // namespace quarn
