#pragma once

#include <cstdint>
#include <string_view>

namespace quarn {

/// Whether the file system marks an item as hidden (UF_HIDDEN on macOS). File systems without such a flag never do.
enum class HiddenFlag : std::uint8_t { clear, set };

/// Whether an item is hidden, the only place that decides it: its name begins with ".", or its flag is set.
constexpr bool isHidden(std::string_view name, HiddenFlag flag = HiddenFlag::clear) {
  return name.starts_with('.') || flag == HiddenFlag::set;
}

}  // namespace quarn
