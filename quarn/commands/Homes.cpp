#include "quarn/commands/Homes.h"

namespace quarn {

std::vector<FileURL> homesOf(CommandContext& context) {
  const FileManager& files = context.services().files;
  std::vector<FileURL> homes{files.homeDirectory()};
  if (!context.arguments().has("--all-users")) return homes;
  for (const DirectoryEntry& entry : files.contentsOrNone(FileURL("/Users"), HiddenItems::skip)) {
    const bool isHome = entry.type == FileType::directory && files.isDirectory(entry.url.appending("Library"));
    if (isHome && entry.url.path() != homes.front().path()) homes.push_back(entry.url);
  }
  return homes;
}

std::string userOf(const FileURL& url, const std::vector<FileURL>& homes) {
  const std::string path = url.path();
  for (const FileURL& home : homes) {
    if (path == home.path() || path.starts_with(home.path() + "/")) return std::string(home.lastPathComponent());
  }
  return "";
}

std::vector<StorageDashboardService> otherDashboards(CommandContext& context, const std::vector<FileURL>& homes) {
  const Services& services = context.services();
  std::vector<StorageDashboardService> dashboards;
  for (std::size_t i = 1; i < homes.size(); ++i) {
    const FileManager files = services.files.withHome(homes[i]);
    dashboards.emplace_back(services.volumeInfoClient, services.fileSizeCalculator, services.signatureRegistry(),
                            services.volumeLocationChecker,
                            VendorPathHintIndex(services.vendorProfiles(), homes[i], files),
                            QuarantineManager::live(files), files);
  }
  return dashboards;
}

}  // namespace quarn
