#pragma once

#include <string>
#include <vector>

#include "QuarnCore/storage/StorageDashboardService.h"
#include "quarn/commands/CommandContext.h"
#include "quarn/commands/CommandRow.h"

namespace quarn {

/// The option of the commands that can look at the home folders of all users.
inline constexpr OptionRow kAllUsersOption{.name = "--all-users",
                                           .help = "Look at the home folders of all users of the volume"};

/// The selected home folder, and with --all-users those of the other users after it. A home folder that cannot be read
/// is reported and left out.
std::vector<FileURL> homesOf(CommandContext& context);
/// The name of the user whose home folder has the item; empty if it is in none.
std::string userOf(const FileURL& url, const std::vector<FileURL>& homes);
/// The dashboards of the home folders after the first, whose dashboard is that of the services.
std::vector<StorageDashboardService> otherDashboards(CommandContext& context, const std::vector<FileURL>& homes);

}  // namespace quarn
