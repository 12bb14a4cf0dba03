#pragma once

#include <string>
#include <string_view>

#include "QuarnPlatform/resources/ResourceBundle.h"

namespace quarn {

/// A temporary folder of resources that replaces the installed ones.
class ResourceFolder {
 public:
  ResourceFolder();
  ~ResourceFolder();
  ResourceFolder(const ResourceFolder&) = delete;
  ResourceFolder& operator=(const ResourceFolder&) = delete;

  /// Writes a file, for example "vendors/index.json", and creates its folders.
  ResourceFolder& file(std::string_view name, std::string_view bytes);
  /// Creates a folder in place of a file.
  ResourceFolder& folder(std::string_view name);

  [[nodiscard]] ResourceBundle bundle() const { return ResourceBundle(path_); }
  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace quarn
