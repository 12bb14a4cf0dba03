#include "quarn/sample/SampleVolume.h"

#include <cerrno>
#include <memory>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "QuarnPlatform/base/FileError.h"
#include "quarn/sample/SampleWriter.h"

namespace quarn {
namespace {

constexpr const char* kOperation = "write a sample volume to";

bool isEmptyFolder(const std::string& hostFolder) {
  const std::unique_ptr<DIR, int (*)(DIR*)> list(::opendir(hostFolder.c_str()), ::closedir);
  if (!list) throwFileError(kOperation, hostFolder);
  while (const dirent* entry = ::readdir(list.get())) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") return false;
  }
  return true;
}

// Returns true if it created the folder. Throws if the folder exists and is not empty.
bool prepare(const std::string& hostFolder) {
  if (::mkdir(hostFolder.c_str(), 0755) == 0) return true;
  if (errno != EEXIST) throwFileError(kOperation, hostFolder);
  if (!isEmptyFolder(hostFolder)) throwFileError(ENOTEMPTY, kOperation, hostFolder);
  return false;
}

}  // namespace

SampleSummary writeSampleVolume(const std::string& hostFolder) {
  const bool isNew = prepare(hostFolder);
  const sample::VolumeWriter writer(hostFolder);
  try {
    return sample::SampleWriter(writer).write();
  } catch (...) {
    writer.clear();
    if (isNew) ::rmdir(hostFolder.c_str());
    throw;
  }
}

}  // namespace quarn
