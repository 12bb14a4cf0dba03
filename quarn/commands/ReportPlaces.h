#pragma once

#include <functional>
#include <string>
#include <vector>

#include "QuarnCore/scans/ScanContent.h"
#include "quarn/commands/FolderTree.h"
#include "quarn/report/ReportPage.h"

namespace quarn {

/// The name of the app whose an item alone is; empty for everything else.
using AppOfItem = std::function<std::string(const FileURL& url)>;

/// What fills each category: its largest folders and apps, and the largest items in each. `roots` are the roots of a
/// partitioned scan; listed ones are ignored. `tree` is what the same scan recorded of the whole volume. A folder with
/// a large part of its category is replaced by what is in it, unless it is an app's. The record does not say which byte
/// counts for which category, so a folder is only divided if at most 2 % of it counts elsewhere or nowhere; the items
/// in it include these bytes.
std::vector<VolumeReport::Place> reportPlaces(const std::vector<ScannedRoot>& roots, const FolderTree& tree,
                                              const AppOfItem& appOf);

}  // namespace quarn
