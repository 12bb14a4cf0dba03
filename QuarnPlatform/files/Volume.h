#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "QuarnPlatform/base/FileDescriptor.h"
#include "QuarnPlatform/files/ItemFacts.h"
#include "QuarnPlatform/files/VolumeSpace.h"

namespace quarn {

/// What an open descriptor is wanted for. Every opening is read-only, close-on-exec and never blocks.
enum class OpenFor : std::uint8_t { facts, folder, file };

/// The system's side of a file manager: one open root folder, below which every look-up stays. Immutable; used from any
/// thread. The bodies are the operating system's own, one file each.
class Volume {
 public:
  /// Throws FileError (operation "open volume").
  explicit Volume(const std::string& hostFolder);

  /// Opens an item by the Mac's path; a closed descriptor and errno when that fails.
  [[nodiscard]] FileDescriptor open(std::string_view path, OpenFor purpose, Links links) const;
  /// The path with every link on the way resolved; absent when anything is missing or there are too many links.
  [[nodiscard]] std::optional<std::string> resolve(std::string_view path) const;
  /// The facts of what a descriptor holds; absent and errno when they cannot be read.
  [[nodiscard]] static std::optional<ItemFacts> facts(int descriptor);
  [[nodiscard]] VolumeSpace space() const;
  [[nodiscard]] const std::string& hostFolder() const { return hostFolder_; }

  /// The current user's home folder on the running system.
  static std::string currentHome();

 private:
  [[nodiscard]] FileDescriptor openByWalking(std::string_view path, int flags, Links links) const;

  std::string hostFolder_;
  FileDescriptor root_;
};

}  // namespace quarn
