#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "QuarnCore/ownership/OwnershipState.h"

namespace quarn {

/// Finds the apps that are no longer installed but left entries. It takes them from the identifiers that have no owner,
/// and then matches names with them by the rules for installed apps. Used while a map is built; keeps a reference.
class FormerApps {
 public:
  explicit FormerApps(OwnershipState& state) : state_(state) {}

  /// Marks the entries without an owner that an app left that is no longer installed.
  void find();

  /// Whether a folder with this name key may hold the folders of such apps.
  [[nodiscard]] bool isVendorFolder(std::string_view folderKey) const { return index_.isVendorFolder(folderKey); }
  /// Marks the entry if it has the name of such an app.
  void considerName(OwnershipState::Entry& entry);
  /// Does the same, and marks an entry by its identifier, in a folder that apps of several vendors share.
  void considerShared(OwnershipState::Entry& entry);

 private:
  using State = OwnershipState;
  using Entry = State::Entry;

  void considerByPath(Entry& entry);
  void noteProgram(const Entry& entry);
  [[nodiscard]] bool wasProgram(const EntryText& text) const;
  void considerIdentifier(std::uint32_t at);
  void gather();
  [[nodiscard]] bool wasApp(const std::string& identifier);
  std::uint32_t formerOf(const std::string& identifier, std::unordered_map<std::string, std::uint32_t>& formers);

  State& state_;
  std::unordered_set<std::string> programs_;    // identifiers
  std::unordered_set<std::string> plainNames_;  // name keys
  std::unordered_map<std::string, std::vector<std::uint32_t>> identifiers_;
  std::unordered_map<std::string, std::string> spelled_;  // identifiers as written
  std::vector<AppEntity> apps_;
  std::vector<std::uint32_t> owners_;  // positions of the apps among the former owners
  AppIndex index_;
};

}  // namespace quarn
