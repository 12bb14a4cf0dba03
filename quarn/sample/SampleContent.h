#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quarn::sample {

/// Pseudo-random, incompressible bytes. The same seed always gives the same bytes.
std::string contentFor(std::string_view seed, std::int64_t bytes);

/// A time between 2023 and 2026, in seconds since 1970. The same seed always gives the same time.
std::int64_t momentFor(std::string_view seed);

}  // namespace quarn::sample
