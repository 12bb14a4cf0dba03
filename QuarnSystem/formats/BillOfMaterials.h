#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quarn {

enum class BillEntryType : std::uint8_t { file, directory, link, device };

/// One item that a package brings. A plain value.
struct BillEntry {
  std::string path{};  ///< "usr/bin/x": below the package's install location, without "./", in the bytes of the bill
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

/// What the installer's bill of materials (a "BOMStore") lists, in the order of the bill, without the root folder.
///
/// Absent when the bytes are no bill, or its block table, its variables or the tree of paths cannot be read. Beyond
/// that, what is damaged contributes nothing and the rest is listed: an entry is left out, and with it all below it,
/// when one of its blocks cannot be read, when its name cannot be a name (empty, ".", "..", with a slash), when its
/// parent is missing, or when it is its own ancestor; of entries with one number the first counts.
///
/// A record too short to be one of Apple's full ones, as bills of bare paths have, still begins with a type; where it
/// has none, an entry with something below it is a directory and any other a file.
std::optional<std::vector<BillEntry>> readBillOfMaterials(std::string_view bytes);

}  // namespace quarn
