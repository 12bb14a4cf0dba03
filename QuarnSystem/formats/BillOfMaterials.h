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

/// The bounds of `readBillOfMaterials`. A bill beyond one of the first three is refused; an entry beyond one of the
/// last two is left out with all below it. Time is linear in the bill and its paths, but for sorting the entries by
/// number; memory, beside the bill, is below the paths' bytes and 160 bytes an entry together.
inline constexpr std::size_t kMaxBillBytes = 64U << 20U;
inline constexpr std::size_t kMaxBillEntries = 1'000'000;
inline constexpr std::size_t kMaxBillPathBytes = 64U << 20U;  ///< of all paths
inline constexpr std::size_t kMaxBillDepth = 1'024;  ///< components of a path; its bytes: limits::kRecordPathBytes

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
