#pragma once

#include <string>
#include <utility>
#include <vector>

#include "QuarnModels/AppEntity.h"
#include "quarn/commands/CommandContext.h"

namespace quarn {

/// The word matches several apps; `what()` lists them.
class AmbiguousApp : public CommandError {
 public:
  AmbiguousApp(const std::string& problem, std::vector<AppEntity> candidates)
      : CommandError(ExitCode::notFound, problem), candidates_(std::move(candidates)) {}
  [[nodiscard]] const std::vector<AppEntity>& candidates() const { return candidates_; }

 private:
  std::vector<AppEntity> candidates_;
};

/// Finds the installed app that the user names. Tries, in this order: a bundle path or file URL, the bundle
/// identifier, the name, the name without case and accents, a unique substring of a name or identifier. Throws
/// AmbiguousApp if several apps match, and CommandError (not found), which suggests the nearest name, if none
/// matches.
AppEntity selectApp(CommandContext& context, const std::string& word);

}  // namespace quarn
