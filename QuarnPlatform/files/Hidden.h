#pragma once

#include <cstdint>
#include <string_view>

namespace quarn {

/// The file system's flag for hidden items (UF_HIDDEN on macOS). On other systems it is never set.
enum class HiddenFlag : std::uint8_t { clear, set };

/// True if an item is hidden: its name begins with ".", or its flag is set. The only definition of this rule.
constexpr bool isHidden(std::string_view name, HiddenFlag flag = HiddenFlag::clear) {
  return name.starts_with('.') || flag == HiddenFlag::set;
}

}  // namespace quarn
