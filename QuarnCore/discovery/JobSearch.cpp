#include "QuarnCore/discovery/JobSearch.h"

#include <utility>

#include "QuarnPlatform/text/Text.h"

namespace quarn {

JobSearch::JobSearch(const std::vector<AppEntity>& apps, std::vector<LaunchdEntry> jobs) : jobs_(std::move(jobs)) {
  for (const AppEntity& app : apps) {
    if (app.bundleIdentifier) byIdentifier_.try_emplace(Text::lowercased(*app.bundleIdentifier));
  }
  std::vector<std::string> identifiers;
  identifiers.reserve(byIdentifier_.size());
  for (const auto& [identifier, found] : byIdentifier_) identifiers.push_back(identifier);
  const TextSet texts(std::move(identifiers));
  for (std::uint32_t i = 0; i < jobs_.size(); ++i) {
    const auto look = [&](const std::string& text) {
      texts.findIn(Text::lowercased(text), [&](std::uint32_t part) {
        std::vector<std::uint32_t>& found = byIdentifier_[texts.parts()[part]];
        if (found.empty() || found.back() != i) found.push_back(i);
      });
    };
    look(jobs_[i].label);
    if (jobs_[i].program) look(*jobs_[i].program);
    for (const std::string& argument : jobs_[i].programArguments) look(argument);
  }
}

std::vector<LaunchdEntry> JobSearch::jobsOf(const AppEntity& app) const {
  std::vector<LaunchdEntry> jobs;
  if (!app.bundleIdentifier) return jobs;
  const auto found = byIdentifier_.find(Text::lowercased(*app.bundleIdentifier));
  if (found == byIdentifier_.end()) return jobs;
  for (const std::uint32_t index : found->second) jobs.push_back(jobs_[index]);
  return jobs;
}

}  // namespace quarn
