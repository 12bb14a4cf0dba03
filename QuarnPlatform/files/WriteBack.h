#pragma once

namespace quarn {

/// Asks the system to begin writing what an open file has to the disk, so that a later sync waits for less. Promises
/// nothing, and reports no error. Nothing on macOS, which has no such call.
void beginWriteBack(int descriptor);

}  // namespace quarn
