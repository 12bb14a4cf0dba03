#include "QuarnCore/vendors/FolderNames.h"

#include <algorithm>
#include <cstddef>

#include "QuarnPlatform/base/FileDescriptor.h"
#include "QuarnPlatform/base/FileError.h"
#include "QuarnPlatform/files/DirectoryReader.h"
#include "QuarnPlatform/text/ASCII.h"

namespace quarn {
namespace {

// Listing more costs more than the lookups that it saves.
constexpr std::size_t kMostJudgedNames = 4096;

bool isAllASCII(std::string_view name) { return std::all_of(name.begin(), name.end(), ascii::isASCII); }

std::string withoutCase(std::string_view name) {
  std::string lowercased(name);
  std::transform(name.begin(), name.end(), lowercased.begin(), ascii::lowercased);
  return lowercased;
}

FileDescriptor openForNames(const FileURL& folder, const FileManager& files) {
  try {
    return files.openDirectory(folder, Links::follow);
  } catch (const FileError&) {
    return {};
  }
}

}  // namespace

std::optional<FolderNames> FolderNames::read(const FileURL& folder, const FileManager& files) {
  const FileDescriptor opened = openForNames(folder, files);
  if (!opened.isOpen()) return std::nullopt;
  std::unordered_set<std::string> names;
  DirectoryReader reader;
  reader.start(opened.get());
  while (reader.readMore()) {
    while (const DirectoryReader::Entry* entry = reader.next()) {
      if (!isAllASCII(entry->name) || names.size() == kMostJudgedNames) return std::nullopt;
      names.insert(withoutCase(entry->name));
    }
  }
  if (reader.error() != 0) return std::nullopt;
  return FolderNames(std::move(names));
}

bool FolderNames::excludes(std::string_view name) const {
  return isAllASCII(name) && !lowercased_.contains(withoutCase(name));
}

}  // namespace quarn
