#include "quarn/commands/Homes.h"

#include "QuarnPlatform/json/JSONLibrary.h"
#include "QuarnPlatform/text/Text.h"
#include "QuarnSystem/UserHomes.h"

namespace quarn {

std::vector<FileURL> homesOf(CommandContext& context) {
  const FileManager& files = context.services().files;
  std::vector<FileURL> homes{files.homeDirectory()};
  if (!context.isOfAllUsers()) return homes;
  try {
    for (FileURL& home : userHomes(files)) {
      if (home != homes.front()) homes.push_back(std::move(home));
    }
  } catch (const FileError& error) {
    context.noteUnread(error);
  }
  return homes;
}

UsersDashboard usersDashboard(CommandContext& context) { return context.services().usersDashboard(homesOf(context)); }

std::string userOf(const FileURL& home) { return std::string(home.lastPathComponent()); }

std::string userOf(const FileURL& url, const HomeFolders& homes) {
  const std::optional<std::size_t> home = homes.homeOf(url);
  return home ? userOf(homes.urls()[*home]) : "";
}

Table::Cell userCell(const std::string& user) {
  return user.empty() ? Table::Cell("–", Style::dim) : Table::Cell(user);
}

nlohmann::ordered_json userJSON(const std::string& user) {
  return user.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(Text::validUTF8(user));
}

}  // namespace quarn
