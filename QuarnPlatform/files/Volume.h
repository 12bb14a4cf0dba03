#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "QuarnPlatform/base/FileDescriptor.h"
#include "QuarnPlatform/files/ItemFacts.h"
#include "QuarnPlatform/files/VolumeSpace.h"

namespace quarn {

/// The purpose of opening an item. All opens are read-only, close-on-exec and non-blocking.
enum class OpenFor : std::uint8_t { folder, file };

/// The system-specific part of a file manager: an open root folder that lookups never leave. Immutable and
/// thread-safe. Each operating system has its own implementation file.
class Volume {
 public:
  /// Throws FileError (operation "open volume").
  explicit Volume(const std::string& hostFolder);

  /// Opens an item by its path on the Mac. On failure, returns a closed descriptor and sets errno.
  [[nodiscard]] FileDescriptor open(std::string_view path, OpenFor purpose, Links links) const;
  /// The path with all links resolved; absent if a component is missing or there are too many links.
  [[nodiscard]] std::optional<std::string> resolve(std::string_view path) const;
  /// The facts of the item at the Mac's path; it need not be readable. Absent, with errno set, on failure.
  [[nodiscard]] std::optional<ItemFacts> facts(std::string_view path, Links links) const;
  /// The facts of an open item. Absent, with errno set, on failure.
  [[nodiscard]] static std::optional<ItemFacts> facts(int descriptor);
  [[nodiscard]] VolumeSpace space() const;
  [[nodiscard]] const std::string& hostFolder() const { return hostFolder_; }

  /// The home folder of the current user on the running system.
  static std::string currentHome();

 private:
  [[nodiscard]] FileDescriptor openWithFlags(std::string_view path, int flags, Links links) const;
  [[nodiscard]] FileDescriptor openByWalking(std::string_view path, int flags, Links links) const;

  std::string hostFolder_;
  FileDescriptor root_;
};

}  // namespace quarn
