#pragma once

#include <string>
#include <string_view>

#include "QuarnPlatform/resources/ResourceBundle.h"

namespace quarn {

/// A folder of resources that a test writes in place of the shipped ones; removed at the end.
class ResourceFolder {
 public:
  ResourceFolder();
  ~ResourceFolder();
  ResourceFolder(const ResourceFolder&) = delete;
  ResourceFolder& operator=(const ResourceFolder&) = delete;

  /// A file by its name below the folder, "vendors/index.json"; folders on the way are made.
  ResourceFolder& file(std::string_view name, std::string_view bytes);
  /// A folder where a file is looked for.
  ResourceFolder& folder(std::string_view name);

  [[nodiscard]] ResourceBundle bundle() const { return ResourceBundle(path_); }
  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace quarn
