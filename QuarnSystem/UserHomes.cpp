#include "QuarnSystem/UserHomes.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace quarn {
namespace {

constexpr std::array<std::string_view, 2> kNobodysHomes{"Shared", "Guest"};

}  // namespace

bool isUserHome(const DirectoryEntry& entry) {
  const std::string_view name = entry.url.lastPathComponent();
  if (entry.type != FileType::directory || name.starts_with('.')) return false;
  return std::find(kNobodysHomes.begin(), kNobodysHomes.end(), name) == kNobodysHomes.end();
}

std::vector<FileURL> userHomes(const FileManager& files) {
  const FileURL users("/Users");
  std::vector<FileURL> homes;
  if (!files.itemExists(users)) return homes;
  for (DirectoryEntry& entry : files.contentsOfDirectory(users, HiddenItems::skip)) {
    if (isUserHome(entry)) homes.push_back(std::move(entry.url));
  }
  return homes;
}

}  // namespace quarn
