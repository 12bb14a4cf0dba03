#pragma once

#include "QuarnPlatform/files/FileManager.h"
#include "quarn/commands/Arguments.h"

namespace quarn {

/// The volume and home that the options name. With --volume and without --home: the only user's home in /Users. Throws
/// CommandError when there is no such choice, which it lists, or when the home that was named is not there; FileError
/// when the volume cannot be opened.
FileManager openVolume(const Arguments& arguments);

}  // namespace quarn
