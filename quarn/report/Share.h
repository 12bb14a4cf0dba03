#pragma once

#include <cstdint>

namespace quarn {

/// part / whole as a number from 0 to 1; 0 if the whole is 0.
inline double shareOf(std::int64_t part, std::int64_t whole) {
  return whole > 0 ? static_cast<double>(part) / static_cast<double>(whole) : 0;
}

}  // namespace quarn
