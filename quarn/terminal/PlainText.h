#pragma once

#include <string>
#include <string_view>

#include "QuarnModels/RemovalPlan.h"

namespace quarn {

/// A text of a record in words for users. Records keep the library's exact texts, and some of these name parts of the
/// library ("Layer C"). Tables and reports show this instead; JSON keeps the text of the record. In the user's
/// language.
std::string plainText(std::string_view recordText);

/// What a step of a plan does: "Move to the Trash".
std::string_view stepTitle(RemovalOperationPreview::Type type);

}  // namespace quarn
