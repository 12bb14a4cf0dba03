#pragma once

#include <string>

#include <unistd.h>

#include "QuarnBuilders/VolumeWriter.h"

namespace quarn {

/// Makes the folder, or takes it when it is empty. Whether it is new. Throws FileError: ENOTEMPTY, ENOTDIR, EACCES, …
bool prepareEmptyFolder(const std::string& hostFolder);

/// Writes a volume into a new or empty folder; nothing of it stays when that fails.
template <class Write>
auto writeIntoEmptyFolder(const std::string& hostFolder, Write write) {
  const bool isNew = prepareEmptyFolder(hostFolder);
  const sample::VolumeWriter writer(hostFolder);
  try {
    return write(writer);
  } catch (...) {
    writer.clear();
    if (isNew) ::rmdir(hostFolder.c_str());
    throw;
  }
}

}  // namespace quarn
