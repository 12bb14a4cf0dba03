#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "QuarnPlatform/base/FileDescriptor.h"
#include "QuarnPlatform/files/AccessTimes.h"
#include "QuarnPlatform/files/ItemFacts.h"
#include "QuarnPlatform/files/VolumeSpace.h"

namespace quarn {

/// What opening a regular file gave.
struct OpenedFile {
  FileDescriptor descriptor;  ///< closed when the file could not be opened
  std::uint64_t size = 0;     ///< length in bytes
  int error = 0;              ///< errno when closed: EISDIR for a folder, EINVAL for another special file
};

/// The system-specific part of a file manager: an open root folder that lookups never leave. Immutable and thread-safe.
/// All opens are read-only, close-on-exec and non-blocking. `Volume.cpp` has what all systems share; each has a file of
/// its own for the rest.
class Volume {
 public:
  /// Throws FileError (operation "open volume").
  explicit Volume(const std::string& hostFolder, AccessTimes accessTimes = AccessTimes::keepIfPermitted);

  /// Opens a folder by its path on the Mac for listing. On failure, returns a closed descriptor and sets errno.
  [[nodiscard]] FileDescriptor openFolder(std::string_view path, Links links) const;
  /// Opens a regular file by the Mac's path, links followed. Checks the type before opening (opening a device can have
  /// effects) and opens what it checked, even if the item is replaced meanwhile.
  [[nodiscard]] OpenedFile openFile(std::string_view path) const;
  /// The path with every link on the way resolved; absent and errno when anything is missing or there are too many
  /// links.
  [[nodiscard]] std::optional<std::string> resolve(std::string_view path) const;
  /// The facts of the item at the Mac's path; it need not be readable. Absent, with errno set, on failure.
  [[nodiscard]] std::optional<ItemFacts> facts(std::string_view path, Links links) const;
  /// True if the item exists, links followed. Otherwise errno is set.
  [[nodiscard]] bool exists(std::string_view path) const;
  [[nodiscard]] VolumeSpace space() const;
  /// Throws FileError (operation "statfs").
  [[nodiscard]] VolumeMount mount() const;
  [[nodiscard]] AccessTimes accessTimes() const { return accessTimes_; }
  [[nodiscard]] const std::string& hostFolder() const { return hostFolder_; }

  /// The home folder of the current user on the running system.
  static std::string currentHome();

 private:
  /// What one call says of a path: it has no links, the item is missing (with errno), or only a walk can tell.
  enum class Resolution : std::uint8_t { isThePath, missing, takesAWalk };

  /// A NUL would end the path in the system's calls and select another item.
  static bool holdsNul(std::string_view path) { return path.find('\0') != std::string_view::npos; }
  [[nodiscard]] Resolution resolveAtOnce(std::string_view path) const;
  [[nodiscard]] FileDescriptor openWith(int purposeFlags, std::string_view path, Links links) const;
  [[nodiscard]] FileDescriptor openAgain(std::string_view path, const ItemFacts& expected) const;
  [[nodiscard]] FileDescriptor openByWalking(std::string_view path, int flags, Links links) const;

  std::string hostFolder_;
  AccessTimes accessTimes_;
  FileDescriptor root_;
};

}  // namespace quarn
