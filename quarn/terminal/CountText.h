#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quarn {

/// "1 artifact", "2 artifacts". `thing` is the singular of a noun with a regular plural.
std::string countText(std::uint64_t count, std::string_view thing);

}  // namespace quarn
