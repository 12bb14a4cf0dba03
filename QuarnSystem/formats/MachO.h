#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "QuarnSystem/formats/ByteSource.h"

namespace quarn {

/// Processor types of Mac programs, from <mach/machine.h>.
inline constexpr std::uint32_t kMachOArm64 = 0x0100000C;
inline constexpr std::uint32_t kMachOX86_64 = 0x01000007;

/// A program for one processor in a Mach-O file.
struct MachOSlice {
  std::uint32_t cpuType = 0;
  std::uint32_t cpuSubtype = 0;  ///< as stored, including capability bits
  std::uint64_t offset = 0;      ///< from the start of the file
  std::uint64_t size = 0;        ///< in bytes; the slice is inside the file

  friend bool operator==(const MachOSlice&, const MachOSlice&) = default;
};

/// A range of bytes in a file.
struct ByteRange {
  std::uint64_t offset = 0;
  std::uint64_t size = 0;

  friend bool operator==(const ByteRange&, const ByteRange&) = default;
};

/// Limits on what is read; Apple's tools stay far below them.
inline constexpr std::uint32_t kMaxMachOSlices = 44;  ///< Java class files have the same magic and a larger number
inline constexpr std::uint32_t kMaxLoadCommandBytes = 4U << 20U;
inline constexpr std::uint32_t kMaxSignatureBytes = 16U << 20U;

/// The slices of a Mach-O file, universal (32 or 64 bit) or thin (32 or 64 bit, either byte order), in file order.
/// Empty for any other file. A slice that exceeds the file or has no Mach-O header is dropped. Reads less than 2 KiB.
std::vector<MachOSlice> machOSlices(const ByteSource& file);

/// The range of a slice's code signature in the file. Absent if it has none, its load commands are inconsistent, or
/// the signature is outside the slice. Reads the load commands only.
std::optional<ByteRange> codeSignatureRange(const ByteSource& file, const MachOSlice& slice);

}  // namespace quarn
