#pragma once

#include <string>

namespace quarn {

/// The absolute path of the running program's file on the host, links resolved; empty when the system does not tell.
/// One file per operating system.
std::string programPath();

}  // namespace quarn
