#pragma once

#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "QuarnCore/storage/UsersDashboard.h"
#include "quarn/commands/CommandContext.h"

namespace quarn {

using UserParts = std::vector<UsersDashboard::Part>;

/// What the users of a scan have, and what no user has, as `UsersDashboard::parts`; empty for a scan of one home
/// folder.
UserParts partsOf(const Scan& scan);
/// The users as a table; empty without parts. Bars show the shares of `whole` bytes.
std::string usersText(const UserParts& parts, std::int64_t whole, CommandContext& context);
/// The users as a list of objects; "user" and "home" are null for what no user has.
nlohmann::ordered_json usersJSON(const UserParts& parts);

}  // namespace quarn
