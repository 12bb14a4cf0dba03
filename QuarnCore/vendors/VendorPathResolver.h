#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "QuarnPlatform/base/Cancellation.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

class ListedFolders;

/// Turns path patterns ("~/Library/Caches/com.example.*", "/Library/*/Example") into the items that exist. Stateless.
struct VendorPathResolver {
  VendorPathResolver() = delete;

  /// The existing items that the patterns denote, in pattern order, each item once (by standardised path). A starred
  /// component lists one folder level without hidden entries; relative patterns denote nothing. Cancelled: the items of
  /// the patterns before the one that was being resolved.
  static std::vector<FileURL> resolve(const std::vector<std::string>& patterns, const FileManager& files,
                                      const FileURL& home, const Cancellation& cancellation = Cancellation::never());

  /// The same for one of many lists of patterns, which share the listings of `folders`.
  static std::vector<FileURL> resolve(const std::vector<std::string>& patterns, ListedFolders& folders,
                                      const FileURL& home, const Cancellation& cancellation = Cancellation::never());

  /// The wildcard test: "*" stands for any run of characters, nothing else is special. Canonically equivalent texts are
  /// equal: both are compared in their composed form. Linear in both lengths.
  static bool matches(std::string_view pattern, std::string_view text);

  /// Whether some component with "*" is not the last one, or is the last one and holds no ".": such a pattern may
  /// gather the folders of several products.
  static bool hasFolderLevelWildcard(std::string_view pattern);
};

}  // namespace quarn
