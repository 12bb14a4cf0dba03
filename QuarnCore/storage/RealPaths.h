#pragma once

#include <optional>
#include <string>
#include <unordered_map>

#include "QuarnCore/vendors/ListedFolders.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// Resolves the paths of one operation, most of which name nothing. Looks up each of them once, and nothing below a
/// folder that is missing; changes on the volume during the operation are not visible. Not thread-safe.
class RealPaths {
 public:
  explicit RealPaths(const FileManager& files) : folders_(files) {}

  /// `FileManager::realPath`.
  [[nodiscard]] std::optional<std::string> realPath(const FileURL& url) { return placeOf(url).realPath; }
  /// `FileManager::resolvedPath`.
  [[nodiscard]] std::string resolvedPath(const FileURL& url);
  /// `FileManager::itemExists`.
  [[nodiscard]] bool itemExists(const FileURL& url);

 private:
  struct Place {
    std::optional<std::string> realPath{};
    bool isMissing = false;  ///< false also for an item that cannot be looked up
  };

  [[nodiscard]] Place placeOf(const FileURL& url);
  [[nodiscard]] Place lookedUp(const FileURL& url);

  ListedFolders folders_;
  std::unordered_map<std::string, Place> known_;  // by path
};

}  // namespace quarn
