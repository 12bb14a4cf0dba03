#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "QuarnSystem/formats/ByteSource.h"

namespace quarn {

/// The processors that programs for the Mac are built for, as Mach-O numbers them (<mach/machine.h>).
inline constexpr std::uint32_t kMachOArm64 = 0x0100000C;
inline constexpr std::uint32_t kMachOX86_64 = 0x01000007;

/// One program in a Mach-O file, for one processor. A plain value.
struct MachOSlice {
  std::uint32_t cpuType = 0;
  std::uint32_t cpuSubtype = 0;  ///< as stored, capability bits included
  std::uint64_t offset = 0;      ///< from the start of the file
  std::uint64_t size = 0;        ///< bytes; all of them lie in the file

  friend bool operator==(const MachOSlice&, const MachOSlice&) = default;
};

/// A run of bytes in a file.
struct ByteRange {
  std::uint64_t offset = 0;
  std::uint64_t size = 0;

  friend bool operator==(const ByteRange&, const ByteRange&) = default;
};

/// Bounds on what is read; the system's own tools stay far below them.
inline constexpr std::uint32_t kMaxMachOSlices = 44;  ///< one less than any Java class file, which begins alike, claims
inline constexpr std::uint32_t kMaxLoadCommandBytes = 4U << 20U;
inline constexpr std::uint32_t kMaxSignatureBytes = 16U << 20U;

/// The slices of a universal (32 and 64 bit) or thin (32 and 64 bit, either byte order) Mach-O file, in file order;
/// empty for any other file. A slice that does not lie in the file or does not begin as Mach-O does is left out. Reads
/// less than 2 KiB.
std::vector<MachOSlice> machOSlices(const ByteSource& file);

/// Where in the file a slice's code signature lies; absent when it has none, when its load commands do not add up, or
/// when the signature is not inside the slice. Reads the load commands only.
std::optional<ByteRange> codeSignatureRange(const ByteSource& file, const MachOSlice& slice);

}  // namespace quarn
