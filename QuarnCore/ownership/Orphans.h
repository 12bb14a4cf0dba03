#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "QuarnCore/ownership/OwnershipState.h"

namespace quarn {

/// The apps of which only leftovers are found, made up from the identifiers that are left and judged by the rules for
/// installed ones. For the making of one map; keeps a reference.
class FormerApps {
 public:
  explicit FormerApps(OwnershipState& state) : state_(state) {}

  /// Marks the entries without an owner that were an app's which is not installed any more.
  void find();

  /// Whether a folder of this name key may hold such apps' folders.
  [[nodiscard]] bool isVendorFolder(std::string_view folderKey) const { return index_.isVendorFolder(folderKey); }
  /// Marks an entry by its name when it was such an app's.
  void considerName(OwnershipState::Entry& entry);

 private:
  using State = OwnershipState;
  using Entry = State::Entry;

  void considerByPath(Entry& entry);
  void noteProgram(const Entry& entry);
  [[nodiscard]] bool wasProgram(const EntryText& text) const;
  void considerIdentifier(std::uint32_t at);
  void gather();
  std::uint32_t formerOf(const std::string& identifier, std::unordered_map<std::string, std::uint32_t>& formers);

  State& state_;
  std::unordered_set<std::string> programs_;    // identifiers
  std::unordered_set<std::string> plainNames_;  // name keys
  std::unordered_map<std::string, std::vector<std::uint32_t>> identifiers_;
  std::unordered_map<std::string, std::string> spelled_;  // identifiers as they were written
  std::vector<AppEntity> apps_;
  std::vector<std::uint32_t> owners_;  // the apps' positions among the former owners
  AppIndex index_;
};

}  // namespace quarn
