#include "quarn/commands/HostFile.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "QuarnPlatform/FileDescriptor.h"
#include "QuarnPlatform/FileError.h"
#include "QuarnPlatform/Path.h"

namespace quarn {
namespace {

bool writeAll(int descriptor, std::string_view content) {
  while (!content.empty()) {
    const ssize_t written = ::write(descriptor, content.data(), content.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    content.remove_prefix(static_cast<std::size_t>(written));
  }
  return ::fsync(descriptor) == 0 || errno == EINVAL || errno == EROFS;
}

}  // namespace

bool liesInHostFolder(const std::string& file, const std::string& folder) {
  std::error_code error;
  const auto place = std::filesystem::weakly_canonical(std::filesystem::absolute(file, error), error);
  const auto volume = std::filesystem::weakly_canonical(std::filesystem::absolute(folder, error), error);
  return path::isInside(place.string(), volume.string());
}

void writeHostFile(const std::string& file, std::string_view content) {
  std::string temporary = file + ".XXXXXX";
  FileDescriptor descriptor(::mkostemp(temporary.data(), O_CLOEXEC));
  if (!descriptor.isOpen()) throwFileError("write", file);
  const bool isWritten = writeAll(descriptor.get(), content) && ::fchmod(descriptor.get(), 0644) == 0 &&
                         ::rename(temporary.c_str(), file.c_str()) == 0;
  if (isWritten) return;
  const int error = errno;
  ::unlink(temporary.c_str());
  throwFileError(error, "write", file);
}

}  // namespace quarn
