#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quarn::sample {

/// That many bytes that look random, do not compress, and are always the same for the same seed.
std::string contentFor(std::string_view seed, std::int64_t bytes);

/// A moment between 2023 and 2026, in seconds since 1970, always the same for the same seed.
std::int64_t momentFor(std::string_view seed);

}  // namespace quarn::sample
