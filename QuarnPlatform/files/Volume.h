#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "QuarnPlatform/base/FileDescriptor.h"
#include "QuarnPlatform/files/AccessTimes.h"
#include "QuarnPlatform/files/ItemFacts.h"
#include "QuarnPlatform/files/VolumeSpace.h"

namespace quarn {

/// What an open descriptor is wanted for. Every opening is read-only, close-on-exec and never blocks.
enum class OpenFor : std::uint8_t { facts, folder };

/// What opening a regular file gave.
struct OpenedFile {
  FileDescriptor descriptor;  ///< closed when the file could not be opened
  std::uint64_t size = 0;     ///< length in bytes
  int error = 0;              ///< errno when closed: EISDIR for a folder, EINVAL for another special file
};

/// The system's side of a file manager: one open root folder, below which every look-up stays. Immutable; used from any
/// thread. The bodies are the operating system's own, one file each.
class Volume {
 public:
  /// Throws FileError (operation "open volume").
  explicit Volume(const std::string& hostFolder, AccessTimes accessTimes = AccessTimes::keepIfPermitted);

  /// Opens an item by the Mac's path; a closed descriptor and errno when that fails.
  [[nodiscard]] FileDescriptor open(std::string_view path, OpenFor purpose, Links links) const;
  /// Opens a regular file by the Mac's path, links followed. Checks the type before opening (opening a device can have
  /// effects) and opens what it checked, even if the item is replaced meanwhile.
  [[nodiscard]] OpenedFile openFile(std::string_view path) const;
  /// The path with every link on the way resolved; absent and errno when anything is missing or there are too many
  /// links.
  [[nodiscard]] std::optional<std::string> resolve(std::string_view path) const;
  /// The facts of what a descriptor holds; absent and errno when they cannot be read.
  [[nodiscard]] static std::optional<ItemFacts> facts(int descriptor);
  [[nodiscard]] VolumeSpace space() const;
  /// Throws FileError (operation "statfs").
  [[nodiscard]] VolumeMount mount() const;
  [[nodiscard]] AccessTimes accessTimes() const { return accessTimes_; }
  [[nodiscard]] const std::string& hostFolder() const { return hostFolder_; }

  /// The current user's home folder on the running system.
  static std::string currentHome();

 private:
  [[nodiscard]] FileDescriptor openWith(int purposeFlags, std::string_view path, Links links) const;
  [[nodiscard]] FileDescriptor openAgain(std::string_view path, const ItemFacts& expected) const;
  [[nodiscard]] FileDescriptor openByWalking(std::string_view path, int flags, Links links) const;

  std::string hostFolder_;
  AccessTimes accessTimes_;
  FileDescriptor root_;
};

}  // namespace quarn
