#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace quarn::recall {

/// One app of the table and the paths that belong to it.
struct ListedApp {
  std::string name;  ///< of the bundle, without ".app"
  std::string bundleIdentifier;
  std::string vendor;              ///< the first two parts of the identifier, in lower case
  std::vector<std::string> paths;  ///< absolute, "~" replaced
};

/// Reads the table; ends the program with a message when the file is none.
std::vector<ListedApp> readApps(const std::string& file);

/// Some of the apps on a volume of their own in a temporary folder that goes with the value: the bundles of those that
/// are installed, the paths of all.
class RecallVolume {
 public:
  RecallVolume(const std::vector<ListedApp>& apps, std::vector<std::size_t> present,
               const std::vector<bool>& installed);
  ~RecallVolume();
  RecallVolume(const RecallVolume&) = delete;
  RecallVolume& operator=(const RecallVolume&) = delete;

  static constexpr std::string_view kHome = "/Users/ann";

  [[nodiscard]] const std::string& folder() const { return folder_; }
  [[nodiscard]] const std::vector<std::size_t>& present() const { return present_; }
  [[nodiscard]] bool isInstalled(std::size_t app) const { return bundles_.contains(app); }
  /// The app whose bundle has this path.
  [[nodiscard]] std::size_t appAt(const std::string& bundle) const { return appByBundle_.at(bundle); }
  /// The paths on the volume and the apps that list each.
  [[nodiscard]] const std::map<std::string, std::vector<std::size_t>>& paths() const { return paths_; }

 private:
  void writeBundles(const std::vector<ListedApp>& apps, const std::vector<bool>& installed);
  void writePaths();

  std::string folder_;
  std::vector<std::size_t> present_;
  std::map<std::size_t, std::string> bundles_;
  std::map<std::string, std::size_t> appByBundle_;
  std::map<std::string, std::vector<std::size_t>> paths_;
};

}  // namespace quarn::recall
