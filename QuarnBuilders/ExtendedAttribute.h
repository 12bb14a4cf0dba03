#pragma once

#include <string>
#include <string_view>

namespace quarn::sample {

/// Gives the open item an extended attribute; negative and errno when that fails. One file per operating system.
int setAttribute(int descriptor, const std::string& name, std::string_view bytes);

}  // namespace quarn::sample
