#include "QuarnPlatform/resources/ResourceBundle.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "QuarnPlatform/base/FileDescriptor.h"
#include "QuarnPlatform/base/FileError.h"
#include "QuarnPlatform/base/Interruption.h"
#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/resources/ProgramPath.h"

namespace quarn {

namespace {

std::string fileName(std::string_view name, std::string_view extension) {
  std::string file(name);
  if (!extension.empty() && !extension.starts_with('.')) file.push_back('.');
  return file.append(extension);
}

bool staysInside(std::string_view relative) {
  const std::vector<std::string_view> names = path::names(relative);
  return !names.empty() && relative.find('\0') == std::string_view::npos &&
         std::find(names.begin(), names.end(), "..") == names.end();
}

/// The regular file's descriptor; not blocking, so that a pipe under a resource's name cannot hold the program.
FileDescriptor openRegularFile(const std::string& path) {
  FileDescriptor file(againIfInterrupted([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK); }));
  if (!file.isOpen()) return file;
  struct stat facts {};
  if (::fstat(file.get(), &facts) != 0) return {};
  if (S_ISREG(facts.st_mode)) return file;
  errno = EINVAL;
  return {};
}

/// All bytes of the file; absent on an error or when there are more than the maximum, whatever its size claims to be.
std::optional<std::string> readAll(const FileDescriptor& file) {
  constexpr std::size_t kChunk = 32u << 10;
  const auto chunk = std::make_unique_for_overwrite<char[]>(kChunk);
  std::string bytes;
  while (bytes.size() <= ResourceBundle::kMaximumBytes) {
    const ssize_t got = againIfInterrupted([&] { return ::read(file.get(), chunk.get(), kChunk); });
    if (got == 0) return bytes;
    if (got < 0) return std::nullopt;
    bytes.append(chunk.get(), static_cast<std::size_t>(got));
  }
  errno = EFBIG;
  return std::nullopt;
}

}  // namespace

ResourceBundle ResourceBundle::shipped() {
  const std::string program = programPath();
  if (program.empty()) return ResourceBundle("");
  return ResourceBundle(path::join(path::parent(path::parent(program)), "share/quarn"));
}

ResourceBundle ResourceBundle::reportingTo(OnUnreadable onUnreadable) const {
  ResourceBundle copy = *this;
  copy.onUnreadable_ = std::move(onUnreadable);
  return copy;
}

bool ResourceBundle::contains(std::string_view name, std::string_view extension, std::string_view subdirectory) const {
  const std::optional<std::string> path = pathOf(name, extension, subdirectory);
  return path && ::access(path->c_str(), F_OK) == 0;
}

std::optional<std::string> ResourceBundle::pathOf(std::string_view name, std::string_view extension,
                                                  std::string_view subdirectory) const {
  const std::string file = fileName(name, extension);
  const std::string relative = subdirectory.empty() ? file : path::join(subdirectory, file);
  if (folder_.empty() || !staysInside(relative)) return std::nullopt;
  return path::join(folder_, relative);
}

std::optional<std::string> ResourceBundle::read(std::string_view name, std::string_view extension,
                                                std::string_view subdirectory) const {
  const std::optional<std::string> path = pathOf(name, extension, subdirectory);
  if (!path) return std::nullopt;
  const FileDescriptor descriptor = openRegularFile(*path);
  std::optional<std::string> bytes = descriptor.isOpen() ? readAll(descriptor) : std::nullopt;
  if (!bytes && onUnreadable_ && !meansMissing(errno)) onUnreadable_(*path, errno);
  return bytes;
}

}  // namespace quarn
