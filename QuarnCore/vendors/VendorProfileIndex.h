#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "QuarnPlatform/base/RecordHash.h"

namespace quarn {

/// The index of the profile files.
struct VendorProfileIndex {
  struct Entry {
    std::string id{};
    std::string file{};
    friend bool operator==(const Entry&, const Entry&) = default;
  };
  std::int64_t version = 0;
  std::vector<Entry> vendors{};
  friend bool operator==(const VendorProfileIndex&, const VendorProfileIndex&) = default;
};

}  // namespace quarn

/// Hashes all fields, consistent with `==`.
template <>
struct std::hash<quarn::VendorProfileIndex::Entry> {
  std::size_t operator()(const quarn::VendorProfileIndex::Entry& record) const {
    const auto& [id, file] = record;
    return quarn::hashOfFields(id, file);
  }
};

/// Hashes all fields, consistent with `==`.
template <>
struct std::hash<quarn::VendorProfileIndex> {
  std::size_t operator()(const quarn::VendorProfileIndex& record) const {
    const auto& [version, vendors] = record;
    return quarn::hashOfFields(version, vendors);
  }
};
