#pragma once

#include <cstddef>

/// What one operation takes in of a volume, beside the limits of a single file (PropertyList.h, BillOfMaterials.h,
/// JSON.h, Message.h). A hostile volume multiplies small files by hard links and links. What is beyond a limit is left
/// out and goes to the read report as `UnreadableCause::limit`. docs/security.md holds the same table.
namespace quarn::limits {

/// Bytes of the files that are read whole: property lists, bills, the lists of game libraries.
inline constexpr std::size_t kFileBytes = std::size_t{512} << 20;
/// Bytes of the texts of all jobs: labels, programs, arguments. A text counts 64 bytes besides its own.
inline constexpr std::size_t kJobBytes = std::size_t{16} << 20;
/// Bytes of the paths of all receipts that are listed at one time, likewise.
inline constexpr std::size_t kReceiptPathBytes = std::size_t{128} << 20;
/// What a text counts besides its bytes.
inline constexpr std::size_t kBytesPerText = 64;
/// Jobs, and receipts.
inline constexpr std::size_t kRecords = 100'000;
/// Bytes of a name, an identifier, a version or a label. A longer one counts as damaged when it is read.
inline constexpr std::size_t kNameBytes = 1024;
/// Bytes of a path inside a record, likewise.
inline constexpr std::size_t kRecordPathBytes = 4096;

}  // namespace quarn::limits
