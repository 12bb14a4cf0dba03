#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <sys/types.h>

#include "QuarnPlatform/base/FileDescriptor.h"

namespace quarn::sample {

/// Writes the items of a Mac volume below one host folder. Paths are the Mac's, absolute; parents are made as needed;
/// names may be any bytes and paths of any length. Modes are set whatever the process's umask. What stands at a path
/// already is replaced by a file and kept by a folder.
///
/// Nothing is ever written through a symbolic link, so nothing can be written outside the folder; that, a path with
/// "..", and every failing system call throw FileError with what was tried and the path. One thread.
class VolumeWriter {
 public:
  /// `hostFolder` must exist.
  explicit VolumeWriter(std::string hostFolder) : root_(std::move(hostFolder)) {}

  [[nodiscard]] const std::string& hostFolder() const { return root_; }

  void folder(const std::string& path) const;
  void file(const std::string& path, std::string_view content, mode_t bits = 0644) const;
  /// A file of that logical length and no allocated byte.
  void sparse(const std::string& path, std::int64_t logicalBytes) const;
  void link(const std::string& path, const std::string& target) const;
  void hardLink(const std::string& path, const std::string& existing) const;
  void fifo(const std::string& path) const;
  void socket(const std::string& path) const;

  /// Permission bits; not of a link.
  void mode(const std::string& path, mode_t bits) const;
  /// The time of the last change of the content, in seconds since 1970; of a link itself.
  void modified(const std::string& path, std::int64_t seconds) const;
  void attribute(const std::string& path, const std::string& name, std::string_view bytes) const;

  /// Takes an item and everything in it away, whatever modes and depths it has.
  void remove(const std::string& path) const;
  /// Takes everything out of the host folder; what cannot be removed stays.
  void clear() const noexcept;

 private:
  struct Place;
  [[nodiscard]] Place place(const std::string& path) const;
  [[nodiscard]] FileDescriptor create(const std::string& path, mode_t bits) const;

  std::string root_;
};

}  // namespace quarn::sample
