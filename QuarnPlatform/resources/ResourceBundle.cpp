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

struct ResourceBundle::OpenResource {
  FileDescriptor descriptor{};
  std::size_t size = 0;  ///< as the system reports it
  int error = 0;         ///< why it is not open
};

namespace {

using OpenResource = ResourceBundle::OpenResource;

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

/// Opens a regular file. Non-blocking, so that a pipe in its place cannot block the program.
OpenResource openRegularFile(const std::string& path) {
  FileDescriptor file(againIfInterrupted([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK); }));
  struct stat facts {};
  if (!file.isOpen() || ::fstat(file.get(), &facts) != 0) return {.error = errno};
  if (!S_ISREG(facts.st_mode)) return {.error = EINVAL};
  return {.descriptor = std::move(file), .size = static_cast<std::size_t>(facts.st_size)};
}

/// Reads the whole file, also if it is longer than reported. Stores in `error` why not. A read that asks for one byte
/// more than the file is said to have, and does not get it, was the last: most resources take one call.
std::optional<std::string> readAll(const OpenResource& file, int& error) {
  constexpr std::size_t kChunk = 32u << 10;
  error = EFBIG;
  std::string bytes;
  for (std::size_t used = 0; std::max(used, file.size) <= ResourceBundle::kMaximumBytes;) {
    bytes.resize(used < file.size ? file.size + 1 : used + kChunk);
    const ssize_t got =
        againIfInterrupted([&] { return ::read(file.descriptor.get(), bytes.data() + used, bytes.size() - used); });
    if (got < 0) error = errno;
    if (got < 0) return std::nullopt;
    used += static_cast<std::size_t>(got);
    const bool isLast = got == 0 || used == file.size;
    if (!isLast) continue;
    bytes.resize(used);
    return bytes;
  }
  return std::nullopt;
}

}  // namespace

ResourceBundle ResourceBundle::shipped() {
  static const std::string program = programPath();
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
  return path ? contentOf(*path, openRegularFile(*path)) : std::nullopt;
}

// A file that opens is there: nearly all resources take one look-up.
std::optional<std::string> ResourceBundle::readBelowOrHere(std::string_view name, std::string_view extension,
                                                           std::string_view subdirectory) const {
  if (const std::optional<std::string> path = pathOf(name, extension, subdirectory)) {
    const OpenResource file = openRegularFile(*path);
    if (file.descriptor.isOpen() || ::access(path->c_str(), F_OK) == 0) return contentOf(*path, file);
  }
  return read(name, extension);
}

std::optional<std::string> ResourceBundle::contentOf(const std::string& path, const OpenResource& file) const {
  int error = file.error;
  std::optional<std::string> bytes = file.descriptor.isOpen() ? readAll(file, error) : std::nullopt;
  if (!bytes && onUnreadable_ && !meansMissing(error)) onUnreadable_(path, error);
  return bytes;
}

}  // namespace quarn
