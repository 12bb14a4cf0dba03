#include "quarn/sample/EmptyFolder.h"

#include <cerrno>
#include <memory>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include "QuarnPlatform/base/FileError.h"

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

}  // namespace

bool prepareEmptyFolder(const std::string& hostFolder) {
  if (::mkdir(hostFolder.c_str(), 0755) == 0) return true;
  if (errno != EEXIST) throwFileError(kOperation, hostFolder);
  if (!isEmptyFolder(hostFolder)) throwFileError(ENOTEMPTY, kOperation, hostFolder);
  return false;
}

}  // namespace quarn
