#pragma once

#include <string>

namespace quarn {

/// The absolute host path of the running program with links resolved; empty if the system does not provide it. One
/// file per operating system.
std::string programPath();

}  // namespace quarn
