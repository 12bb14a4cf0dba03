#pragma once

#include <string>
#include <vector>

#include "QuarnCore/storage/UsersDashboard.h"
#include "quarn/commands/CommandContext.h"
#include "quarn/commands/CommandRow.h"
#include "quarn/terminal/Table.h"

namespace quarn {

/// The option of the commands that can look at all home folders.
inline constexpr OptionRow kAllUsersOption{
    .name = "--all-users", .help = "Look at the home folders of all users of the volume", .excludes = "--home"};

/// The selected home folder, and with --all-users those of the other users after it. A folder of homes that cannot be
/// listed goes to the read report.
std::vector<FileURL> homesOf(CommandContext& context);
/// The dashboard of these homes.
UsersDashboard usersDashboard(CommandContext& context);
/// The user of a home folder is named like it.
std::string userOf(const FileURL& home);
/// The user in whose home folder the item is; empty if it is in none.
std::string userOf(const FileURL& url, const HomeFolders& homes);

/// A column and a cell for the user of an item.
inline constexpr Table::Column kUserColumn{.title = "USER"};
Table::Cell userCell(const std::string& user);
/// The user as JSON: null for what no user has.
nlohmann::ordered_json userJSON(const std::string& user);

}  // namespace quarn
