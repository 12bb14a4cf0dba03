#pragma once

#include <string>
#include <utility>
#include <vector>

#include "QuarnModels/AppEntity.h"
#include "quarn/commands/CommandContext.h"

namespace quarn {

/// A word that may mean several apps. `what()` lists them.
class AmbiguousApp : public CommandError {
 public:
  AmbiguousApp(const std::string& problem, std::vector<AppEntity> candidates)
      : CommandError(ExitCode::notFound, problem), candidates_(std::move(candidates)) {}
  [[nodiscard]] const std::vector<AppEntity>& candidates() const { return candidates_; }

 private:
  std::vector<AppEntity> candidates_;
};

/// The one installed app that a word of the user means: a path to its bundle or its file URL, its bundle identifier or
/// its name (letter case and accents ignored), else the only app whose name or identifier holds the word. Throws
/// AmbiguousApp when there are several, and CommandError (not found) with the nearest name when there is none.
AppEntity selectApp(CommandContext& context, const std::string& word);

}  // namespace quarn
