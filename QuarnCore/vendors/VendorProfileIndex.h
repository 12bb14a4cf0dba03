#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace quarn {

/// The index of the profile files.
struct VendorProfileIndex {
  struct Entry {
    std::string id;
    std::string file;
    friend bool operator==(const Entry&, const Entry&) = default;
  };
  std::int64_t version = 0;
  std::vector<Entry> vendors;
  friend bool operator==(const VendorProfileIndex&, const VendorProfileIndex&) = default;
};

}  // namespace quarn
