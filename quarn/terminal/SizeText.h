#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "QuarnModels/RawValue.h"

namespace quarn {

/// Units of byte counts in the output.
enum class SizeUnits : std::uint8_t {
  decimal,  ///< powers of 1000, as in the Finder: "999 bytes", "12 KB", "3.4 MB", "1.25 GB"
  iec,      ///< powers of 1024: "12.0 KiB", "3.4 MiB"
  bytes,    ///< the number of bytes
};

template <>
struct RawValues<SizeUnits> {
  static constexpr std::array<std::string_view, 3> kStrings{"decimal", "iec", "bytes"};
};

std::string sizeText(std::int64_t bytes, SizeUnits units);

}  // namespace quarn
