#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

// The system calls of macOS that the library uses, on top of Linux. What Linux's file systems do not know of an item is
// kept in extended attributes of it. Tests use this header alone: they run both in programs that contain the emulation
// and in programs for macOS that tests/macos/loader runs.
namespace quarn::darwin {

/// An item's flags (UF_HIDDEN, SF_DATALESS): four bytes. FinderInfo is in "user.com.apple.FinderInfo".
inline constexpr const char* kFlagsAttribute = "user.darwin.flags";
/// Whatever its value: privacy protection refuses the folder or file to this program.
inline constexpr const char* kPrivateAttribute = "user.darwin.private";
/// A folder that is in another volume of the same group: an `ItemOfOtherVolume`.
inline constexpr const char* kVolumeAttribute = "user.darwin.volume";
/// A folder on a file system that is mounted otherwise: what its `f_flags` have besides, MNT_RDONLY or MNT_NOATIME.
inline constexpr const char* kMountAttribute = "user.darwin.mount";

struct ItemOfOtherVolume {
  std::uint64_t realDevice = 0;
  std::uint64_t inode = 0;  ///< 0: its own
};

template <class Value>
std::string bytesOf(const Value& value) {
  return {reinterpret_cast<const char*>(&value), sizeof value};
}

/// Makes the buffers of getattrlistbulk look so small, so that small folders take several calls; 0: as they are. By the
/// environment, which the loader and its program share.
inline void limitBulkBuffer(std::size_t bytes) { ::setenv("QUARN_BULK_BYTES", std::to_string(bytes).c_str(), 1); }

}  // namespace quarn::darwin
