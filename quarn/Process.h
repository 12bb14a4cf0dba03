#pragma once

namespace quarn {

/// Sets what holds for the whole process of the command, before anything else. One file per operating system.
void settleProcess();

}  // namespace quarn
