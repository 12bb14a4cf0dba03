#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <sys/types.h>

#include "QuarnPlatform/base/FileDescriptor.h"

namespace quarn::sample {

/// Writes the items of a Mac volume below a host folder. Paths are absolute paths on the Mac. Names may hold any
/// bytes, and paths may have any length. Missing parents are created. Modes do not depend on the umask. A file
/// replaces an existing item; a folder keeps it.
///
/// Never writes through a symbolic link, so it cannot write outside the folder. A link or ".." in a path, or a
/// failing system call, throws FileError with the operation and the path. Not thread-safe.
class VolumeWriter {
 public:
  /// `hostFolder` must exist.
  explicit VolumeWriter(std::string hostFolder) : root_(std::move(hostFolder)) {}

  [[nodiscard]] const std::string& hostFolder() const { return root_; }

  void folder(const std::string& path) const;
  void file(const std::string& path, std::string_view content, mode_t bits = 0644) const;
  /// A file of that length without allocated blocks.
  void sparse(const std::string& path, std::int64_t logicalBytes) const;
  void link(const std::string& path, const std::string& target) const;
  void hardLink(const std::string& path, const std::string& existing) const;
  void fifo(const std::string& path) const;
  void socket(const std::string& path) const;

  /// Sets permission bits; the item must not be a link.
  void mode(const std::string& path, mode_t bits) const;
  /// Sets the modification time, in seconds since 1970. Does not follow links.
  void modified(const std::string& path, std::int64_t seconds) const;
  void attribute(const std::string& path, const std::string& name, std::string_view bytes) const;

  /// Removes an item and its content, whatever their modes and depth.
  void remove(const std::string& path) const;
  /// Empties the host folder. Skips items that it cannot remove.
  void clear() const noexcept;

 private:
  struct Place;
  [[nodiscard]] Place place(const std::string& path) const;
  [[nodiscard]] FileDescriptor create(const std::string& path, mode_t bits) const;

  std::string root_;
};

}  // namespace quarn::sample
