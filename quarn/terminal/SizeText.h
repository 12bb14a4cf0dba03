#pragma once

#include <cstdint>
#include <string>

namespace quarn {

/// How people are shown byte counts.
enum class SizeUnits : std::uint8_t {
  decimal,  ///< powers of 1000, as the Finder shows them: "999 bytes", "12 KB", "3.4 MB", "1.25 GB"
  iec,      ///< powers of 1024: "12.0 KiB", "3.4 MiB"
  bytes,    ///< the plain number
};

std::string sizeText(std::int64_t bytes, SizeUnits units);

}  // namespace quarn
