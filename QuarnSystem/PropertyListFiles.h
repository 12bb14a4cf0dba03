#pragma once

#include <optional>
#include <vector>

#include "QuarnPlatform/files/FileManager.h"
#include "QuarnSystem/formats/PropertyList.h"

namespace quarn {

/// Functions for property list files. Thread-safe; they cannot fail.

/// Reads a property list and follows links. Absent if the file cannot be read, is larger than
/// `PropertyList::kMaxBytes`, is not a regular file, or is not a property list.
std::optional<PropertyList> readPropertyList(const FileManager& files, const FileURL& url);

/// The files and links in a folder with the extension "plist", in any case, including hidden ones, in ascending order
/// of their names. Does not read them. Empty if the folder cannot be listed.
std::vector<FileURL> propertyListFiles(const FileManager& files, const FileURL& folder);

}  // namespace quarn
