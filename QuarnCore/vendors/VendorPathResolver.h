#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "QuarnPlatform/base/Cancellation.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

class ListedFolders;

/// Resolves path patterns ("~/Library/Caches/com.example.*", "/Library/*/Example") to existing items. Stateless.
struct VendorPathResolver {
  VendorPathResolver() = delete;

  /// The existing items that match the patterns, in the order of the patterns, without duplicates (by standardised
  /// path). A component with "*" matches the visible entries of one folder level. Relative patterns match nothing. If
  /// cancelled, returns the items of the patterns that were already resolved.
  static std::vector<FileURL> resolve(const std::vector<std::string>& patterns, const FileManager& files,
                                      const FileURL& home, const Cancellation& cancellation = Cancellation::never());

  /// The same, with shared folder listings.
  static std::vector<FileURL> resolve(const std::vector<std::string>& patterns, ListedFolders& folders,
                                      const FileURL& home, const Cancellation& cancellation = Cancellation::never());

  /// The wildcard match: "*" matches any text, no other character is special. Compares composed texts, so canonically
  /// equivalent texts are equal. Time is linear in both lengths.
  static bool matches(std::string_view pattern, std::string_view text);

  /// True if a component with "*" is not the last one, or is the last one and contains no ".". Such a pattern may
  /// match folders of several products.
  static bool hasFolderLevelWildcard(std::string_view pattern);
};

}  // namespace quarn
