#pragma once

#include <optional>
#include <vector>

#include "QuarnPlatform/files/FileManager.h"
#include "QuarnSystem/formats/PropertyList.h"

namespace quarn {

/// Property lists as files. Free functions without state, safe from any thread; none can fail.

/// The property list in a file, links followed; absent when the file cannot be read, is larger than
/// `PropertyList::kMaxBytes`, is no regular file, or holds none.
std::optional<PropertyList> readPropertyList(const FileManager& files, const FileURL& url);

/// The files and links in a folder whose extension is "plist" in any letter case, hidden ones too, names ascending;
/// what they hold has not been looked at. Empty when the folder cannot be listed.
std::vector<FileURL> propertyListFiles(const FileManager& files, const FileURL& folder);

}  // namespace quarn
