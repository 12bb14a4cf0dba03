#include "QuarnSystem/PropertyListFiles.h"

#include "QuarnPlatform/text/Text.h"

namespace quarn {

std::optional<PropertyList> readPropertyList(const FileManager& files, const FileURL& url) {
  const std::optional<std::string> bytes = files.readFileIfPossible(url, PropertyList::kMaxBytes);
  return bytes ? PropertyList::parse(*bytes) : std::nullopt;
}

std::vector<FileURL> propertyListFiles(const FileManager& files, const FileURL& folder) {
  std::vector<FileURL> found;
  for (DirectoryEntry& entry : files.contentsOrNone(folder, HiddenItems::include)) {
    const bool mayBeFile = entry.type == FileType::regular || entry.type == FileType::symbolicLink;
    if (mayBeFile && Text::lowercased(entry.url.pathExtension()) == "plist") found.push_back(std::move(entry.url));
  }
  return found;
}

}  // namespace quarn
