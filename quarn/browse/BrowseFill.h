#pragma once

#include <vector>

#include "QuarnCore/scans/Scan.h"
#include "QuarnPlatform/base/Cancellation.h"
#include "QuarnPlatform/files/FileManager.h"
#include "quarn/browse/BrowseTree.h"

namespace quarn {

/// Walks a folder into the tree, whose top it is. Throws FileError and SizeOverflow.
void fillFromFolder(BrowseTree& tree, const FileManager& files, const FileURL& folder,
                    const Cancellation& cancellation);

/// Walks folders and files into a tree with a title. Leaves out those that do not exist or are in another one. What
/// cannot be read goes to the read report. Throws SizeOverflow.
void fillFromRoots(BrowseTree& tree, const FileManager& files, const std::vector<FileURL>& roots,
                   const Cancellation& cancellation);

/// Reads a folder of a scan into the tree, whose top it is. A scan has every folder and the largest files; the others
/// become one item per folder. Throws ScanError and FileError.
void fillFromScan(BrowseTree& tree, const Scan& scan, const ScannedFolder& folder, const Cancellation& cancellation);

/// The same for several folders and a tree with a title. Leaves out folders that are in another one.
void fillFromScan(BrowseTree& tree, const Scan& scan, const std::vector<FileURL>& folders,
                  const Cancellation& cancellation);

}  // namespace quarn
