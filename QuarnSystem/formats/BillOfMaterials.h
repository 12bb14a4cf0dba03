#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quarn {

enum class BillEntryType : std::uint8_t { file, directory, link, device };

/// An item of a package.
struct BillEntry {
  std::string path{};  ///< relative to the install location, without "./"; raw bytes
  BillEntryType type = BillEntryType::file;

  friend bool operator==(const BillEntry&, const BillEntry&) = default;
};

/// Limits of `readBillOfMaterials`. It refuses a bill that exceeds one of the first three, and drops items deeper
/// than the last. Time is linear in the size of the bill and its paths, except for sorting the entries by number.
/// Memory besides the bill is at most the bytes of the paths plus 160 bytes per entry.
inline constexpr std::size_t kMaxBillBytes = 256U << 20U;
inline constexpr std::size_t kMaxBillEntries = 2'000'000;
inline constexpr std::size_t kMaxBillPathBytes = 256U << 20U;  ///< total length of all paths
inline constexpr std::size_t kMaxBillDepth = 1'024;            ///< components of a path

/// Reads an installer's bill of materials (a "BOMStore"). Returns its items in order, without the root folder.
///
/// Absent if the bytes are not a bill, or if its block table, its variables or the tree of paths cannot be read. Any
/// other damage affects single entries: an entry and everything below it are dropped if one of its blocks cannot be
/// read, its name is invalid (empty, ".", "..", or with a slash), its parent is missing, or it is its own ancestor.
/// If a number is repeated, the first entry counts.
///
/// Records in bills of bare paths are short but still begin with a type. An entry without a type is a directory if
/// other entries are below it, else a file.
std::optional<std::vector<BillEntry>> readBillOfMaterials(std::string_view bytes);

}  // namespace quarn
