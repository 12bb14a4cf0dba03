#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "QuarnModels/AppEntity.h"
#include "QuarnModels/SystemRecords.h"
#include "QuarnPlatform/text/TextSet.h"

namespace quarn {

/// Which launchd jobs may belong to which of several apps: those whose texts hold the app's identifier. Reads each
/// job's texts once, whatever the number of apps. A plain value.
class JobSearch {
 public:
  JobSearch(const std::vector<AppEntity>& apps, std::vector<LaunchdEntry> jobs);

  /// The jobs for one of the apps, in their order.
  [[nodiscard]] std::vector<LaunchdEntry> jobsOf(const AppEntity& app) const;

 private:
  std::vector<LaunchdEntry> jobs_;
  std::unordered_map<std::string, std::vector<std::uint32_t>> byIdentifier_;  // in lower case
};

}  // namespace quarn
