#pragma once

#include <span>
#include <string>
#include <string_view>

namespace quarn {

namespace sample {
class VolumeWriter;
}

/// One kind of hostile item.
struct HostileItems {
  std::string_view name;     ///< "loops"
  std::string_view meaning;  ///< one sentence for users
  void (*write)(const sample::VolumeWriter& volume);
};

/// Every kind of item that the hostile volume holds.
std::span<const HostileItems> hostileItems();

/// What `writeHostileVolume` did.
struct HostileSummary {
  std::string home;         ///< the home folder of the inspected user, a path on the Mac
  std::size_t kinds = 0;    ///< the kinds that were written
  std::size_t refused = 0;  ///< the kinds that this file system does not support, or not completely
};

/// Writes a Mac volume that attacks its readers: links of every kind, loops, pipes, sockets, sparse files,
/// hard links, odd names, deep folders, and damaged or bloated files of each format. Needs no root. It also has a
/// small intact app, "/Applications/Good.app". Takes less than 60 MB of disk.
///
/// `hostFolder` must be new or empty. Throws FileError like `writeSampleVolume`, and then removes what it wrote.
/// To remove the volume, use a tool that can descend 3,000 folders (`rm -r` can).
HostileSummary writeHostileVolume(const std::string& hostFolder);

}  // namespace quarn
