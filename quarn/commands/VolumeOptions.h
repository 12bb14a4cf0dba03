#pragma once

#include "QuarnPlatform/files/FileManager.h"
#include "quarn/commands/Arguments.h"

namespace quarn {

/// Opens the volume that the options name. With --volume but without --home, uses the only home folder in /Users; with
/// --all-users the first one.
/// Throws CommandError if there are none or several (it lists them), or if the named home folder does not exist, and
/// FileError if the volume cannot be opened.
/// Without --volume, opens the running system; throws CommandError if that is not a Mac and the command needs one.
FileManager openVolume(const Arguments& arguments);

}  // namespace quarn
