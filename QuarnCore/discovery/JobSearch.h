#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "QuarnModels/AppEntity.h"
#include "QuarnModels/SystemRecords.h"
#include "QuarnPlatform/text/TextSet.h"

namespace quarn {

/// Finds the launchd jobs that may belong to an app, for many apps: the jobs with a text that contains the app's bundle
/// identifier. Reads the texts of each job once, whatever the number of apps. Immutable; safe from any thread.
class JobSearch {
 public:
  JobSearch(const std::vector<AppEntity>& apps, std::vector<LaunchdEntry> jobs);

  /// The jobs of one of the apps, in the order of the list.
  [[nodiscard]] std::vector<LaunchdEntry> jobsOf(const AppEntity& app) const;

 private:
  std::vector<LaunchdEntry> jobs_;
  std::unordered_map<std::string, std::vector<std::uint32_t>> byIdentifier_;  // in lower case
};

}  // namespace quarn
