#pragma once

#include <span>
#include <string>
#include <string_view>

namespace quarn {

namespace sample {
class VolumeWriter;
}

/// One way to hurt a program that reads a volume.
struct HostileItems {
  std::string_view name;     ///< "loops"
  std::string_view meaning;  ///< one sentence for people
  void (*write)(const sample::VolumeWriter& volume);
};

/// Every kind of item that the hostile volume holds.
std::span<const HostileItems> hostileItems();

/// What `writeHostileVolume` did.
struct HostileSummary {
  std::string home;         ///< the inspected user's home, as the Mac names it
  std::size_t kinds = 0;    ///< written
  std::size_t refused = 0;  ///< that this file system does not take, wholly or in part
};

/// Writes a Mac volume that tries to hurt whoever reads it: links of every kind, loops, pipes, sockets, sparse files,
/// hard links, odd names, deep folders, and damaged or bloated files of each format. Needs no root. A small app,
/// "/Applications/Good.app", is among it, so that something is to be found. It takes less than 60 MB of disk.
///
/// `hostFolder` must be new or empty. Throws FileError like `writeSampleVolume`, and leaves nothing of its own behind
/// then. Removing it needs a tool that descends 3,000 folders (`rm -r` does).
HostileSummary writeHostileVolume(const std::string& hostFolder);

}  // namespace quarn
