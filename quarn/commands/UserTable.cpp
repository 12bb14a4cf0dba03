#include "quarn/commands/UserTable.h"

#include <fmt/format.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/commands/Homes.h"
#include "quarn/report/Share.h"
#include "quarn/terminal/Table.h"
#include "quarn/wire/RecordJSON.h"

namespace quarn {
namespace {

constexpr std::size_t kUserBarWidth = 24;

std::string userNameOf(const UsersDashboard::Part& part) { return part.home ? userOf(*part.home) : ""; }

}  // namespace

UserParts partsOf(const Scan& scan) {
  UserParts parts;
  if (scan.users().empty()) return parts;
  for (const ScannedUser& user : scan.users()) parts.push_back({.home = user.home, .isRead = user.isRead});
  parts.emplace_back();
  for (UsersDashboard::Part& part : parts) {
    for (const StorageCategory& category : scan.categories()) part.sizes[category.id];
  }
  for (const ScannedRoot& root : scan.roots()) {
    if (root.isListed || !root.size) continue;
    parts[root.user.value_or(scan.users().size())].sizes[root.category] += *root.size;
  }
  UsersDashboard::sort(parts);
  return parts;
}

std::string usersText(const UserParts& parts, std::int64_t whole, CommandContext& context) {
  if (parts.empty()) return "";
  Table table({{.title = "USER", .isFlexible = true},
               {.title = "ON DISK", .align = Table::Align::right},
               {.title = "SHARE", .align = Table::Align::right},
               {.title = "", .barWidth = kUserBarWidth}});
  for (const UsersDashboard::Part& part : parts) {
    const std::int64_t bytes = part.size().allocatedBytes;
    const double share = shareOf(bytes, whole);
    const bool isKnown = part.isRead || bytes > 0;
    const Table::Cell name = part.home ? Table::Cell(userNameOf(part)) : Table::Cell("shared by all users", Style::dim);
    table.addRow({name, isKnown ? context.size(bytes) : "not readable",
                  isKnown ? fmt::format("{:.1f} %", share * 100) : "–", share});
  }
  return "\n" + table.text(context.out());
}

nlohmann::ordered_json usersJSON(const UserParts& parts) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const UsersDashboard::Part& part : parts) {
    list.push_back({{"user", userJSON(userNameOf(part))},
                    {"home", part.home ? toJSON(*part.home) : nlohmann::ordered_json()},
                    {"size", toJSON(part.size())},
                    {"categories", toJSON(part.sizes)},
                    {"isRead", part.isRead}});
  }
  return list;
}

}  // namespace quarn
