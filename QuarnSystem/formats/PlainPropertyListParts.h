#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

#include "QuarnSystem/formats/PropertyList.h"

/// What both readers of plain property lists need. Private to them.
namespace quarn {

// Far below the limits of `PropertyList`, so that no list within these exceeds those.
inline constexpr std::size_t kMostPlainBytes = std::size_t{64} << 10;
inline constexpr std::size_t kMostPlainLevels = 16;

/// Adds a key whose value follows; null if the library must decide what the key means.
inline PropertyList* valueOfNewKey(PropertyList::Dictionary& entries, std::string_view key) {
  const auto isKey = [&](const PropertyListEntry& entry) { return entry.key == key; };
  if (key.empty() || std::any_of(entries.begin(), entries.end(), isKey)) return nullptr;
  return &entries.emplace_back(PropertyListEntry{.key = std::string(key), .value = {}}).value;
}

}  // namespace quarn
