#include "quarn/commands/HostOutput.h"

#include "QuarnPlatform/files/HostFile.h"
#include "quarn/commands/CommandError.h"
#include "quarn/terminal/TerminalText.h"

namespace quarn {

void refuseOnVolume(std::string_view option, const std::string& file, const std::string& volumeFolder) {
  if (volumeFolder == "/" || !liesInHostFolder(file, volumeFolder)) return;
  throw CommandError(ExitCode::usage,
                     std::string(option) + ": " + escapedForTerminal(file) + " is on the inspected volume");
}

}  // namespace quarn
