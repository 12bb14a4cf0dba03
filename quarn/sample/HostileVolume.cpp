#include "quarn/sample/HostileVolume.h"

#include <array>
#include <cerrno>

#include "QuarnBuilders/PlistWriter.h"
#include "QuarnPlatform/base/FileError.h"
#include "quarn/sample/EmptyFolder.h"
#include "quarn/sample/HostileItems.h"

namespace quarn {
namespace {

constexpr const char* kHostileHome = "/Users/ann";

// clang-format off
constexpr std::array kHostileItems{
    HostileItems{.name = "links",
                 .meaning = "links out of the volume, to its root, to nothing, and long chains of them",
                 .write = sample::writeLinks},
    HostileItems{.name = "loops", .meaning = "links in circles, in each folder that is searched",
                 .write = sample::writeLoops},
    HostileItems{.name = "special files", .meaning = "pipes and sockets under the names of files that are read",
                 .write = sample::writeSpecialFiles},
    HostileItems{.name = "sparse giants", .meaning = "files of many terabytes that take no space",
                 .write = sample::writeSparseGiants},
    HostileItems{.name = "hard links", .meaning = "one large list under many names",
                 .write = sample::writeHardLinkFarms},
    HostileItems{.name = "odd names",
                 .meaning = "control bytes, overrides of direction, bad UTF-8, mark-up, 255 bytes",
                 .write = sample::writeOddNames},
    HostileItems{.name = "deep folders", .meaning = "3,000 folders in each other with names of 255 bytes",
                 .write = sample::writeDeepFolders},
    HostileItems{.name = "wide folder", .meaning = "10,000 items in the home folder", .write = sample::writeWideFolder},
    HostileItems{.name = "closed items", .meaning = "files and folders without permission",
                 .write = sample::writeClosedItems},
    HostileItems{.name = "property lists", .meaning = "nesting, entities, shared references, cut and false lengths",
                 .write = sample::writePropertyListBombs},
    HostileItems{.name = "long texts",
                 .meaning = "names, identifiers and labels of a megabyte, and of combining marks",
                 .write = sample::writeLongTexts},
    HostileItems{.name = "bills", .meaning = "paths of 30 kB, cycles, false counts", .write = sample::writeBillBombs},
    HostileItems{.name = "bill of links", .meaning = "one folder reached through a thousand links",
                 .write = sample::writeBillOfLinks},
    HostileItems{.name = "programs", .meaning = "false slices, false signatures, 150 kB of entitlements",
                 .write = sample::writeProgramBombs},
    HostileItems{.name = "game lists", .meaning = "nesting without end, paths out of the volume",
                 .write = sample::writeGameListBombs},
};
// clang-format on

void writeGoodApp(const sample::VolumeWriter& volume) {
  const std::string app = "/Applications/Good.app/Contents/";
  volume.file(app + "Info.plist", sample::xmlPlist(sample::PlistDictionary{{"CFBundleIdentifier", "com.example.good"},
                                                                           {"CFBundleName", "Good"},
                                                                           {"CFBundleShortVersionString", "1.0"}}));
  volume.file(app + "MacOS/Good", "#!/bin/sh\n", 0755);
  volume.file(std::string(kHostileHome) + "/Library/Caches/com.example.good/cache", std::string(4096, 'c'));
  volume.file(std::string(kHostileHome) + "/Documents/letter.txt", "Dear reader\n");
}

// Whether the file system takes all of it; what it does not take (a name that is not UTF-8) is left out.
bool takes(const sample::VolumeWriter& volume, const HostileItems& items) {
  try {
    items.write(volume);
    return true;
  } catch (const FileError& error) {
    if (error.error() == ENOSPC || error.error() == EDQUOT || error.error() == EIO) throw;
    return false;
  }
}

}  // namespace

std::span<const HostileItems> hostileItems() { return kHostileItems; }

HostileSummary writeHostileVolume(const std::string& hostFolder) {
  return writeIntoEmptyFolder(hostFolder, [](const sample::VolumeWriter& volume) {
    HostileSummary summary{.home = kHostileHome};
    writeGoodApp(volume);
    for (const HostileItems& items : kHostileItems) ++(takes(volume, items) ? summary.kinds : summary.refused);
    return summary;
  });
}

}  // namespace quarn
