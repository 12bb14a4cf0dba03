#pragma once

#include <string>

#include "QuarnModels/AppEntity.h"
#include "quarn/commands/CommandContext.h"

namespace quarn {

/// The one installed app that a word of the user means: a path to its bundle, its bundle identifier or its name (letter
/// case and accents ignored), else the only app whose name or identifier holds the word. Throws CommandError (not
/// found) that lists the candidates when there are several, and the nearest name when there is none.
AppEntity selectApp(CommandContext& context, const std::string& word);

}  // namespace quarn
