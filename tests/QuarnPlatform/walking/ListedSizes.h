#pragma once

namespace quarn {

/// True if this system lists the sizes of files together with their names. One file per operating system.
bool sizesComeWithNames();

}  // namespace quarn
