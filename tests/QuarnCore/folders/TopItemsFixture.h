#pragma once

#include <gmock/gmock.h>

#include "QuarnCore/folders/TopItemsService.h"
#include "tests/support/MacVolume.h"

namespace quarn {

/// A small volume and its service.
class TopItemsVolume : public MacVolume {
 public:
  [[nodiscard]] TopItemsService service() const { return {FileSizeCalculator::live(files()), files()}; }
  [[nodiscard]] std::vector<FileURL> urls(const std::vector<std::string>& paths) const {
    std::vector<FileURL> result;
    for (const std::string& path : paths) result.push_back(url(path));
    return result;
  }
};

/// The name of each item.
inline std::vector<std::string> names(const std::vector<TopItem>& items) {
  std::vector<std::string> result;
  for (const TopItem& item : items) {
    EXPECT_EQ(item.name, item.url.lastPathComponent());
    result.push_back(item.name);
  }
  return result;
}

/// "path allocated logical" of each item.
inline std::vector<std::string> lines(const std::vector<TopItem>& items) {
  std::vector<std::string> result;
  for (const TopItem& item : items) {
    result.push_back(item.url.path() + " " + std::to_string(item.size.allocatedBytes) + " " +
                     std::to_string(item.size.logicalBytes));
  }
  return result;
}

}  // namespace quarn
