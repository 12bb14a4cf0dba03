#include "quarn/commands/ScanOption.h"

#include <algorithm>
#include <cstdint>
#include <set>

#include "QuarnPlatform/paths/Path.h"
#include "quarn/terminal/TerminalText.h"

namespace quarn {
void refuseWithScan(const CommandContext& context, std::string_view option, std::string_view reason) {
  if (context.arguments().has(option)) {
    throw UsageError(std::string(option) + " cannot be combined with --scan: " + std::string(reason));
  }
}

void refuseAgesWithScan(const CommandContext& context, std::string_view missing) {
  const std::string reason = "a scan does not have " + std::string(missing);
  refuseWithScan(context, "--older-than", reason);
  refuseWithScan(context, "--newer-than", reason);
  if (context.arguments().text("--sort") == "age") {
    throw UsageError("--sort age cannot be combined with --scan: " + reason);
  }
}

void warnIfUsersDiffer(const Scan& before, const Scan& after, CommandContext& context) {
  if (before.users().empty() == after.users().empty()) return;
  const Scan& ofAll = before.users().empty() ? after : before;
  context.warn(ofAll.file() +
               " is a scan of all users and the other is not: categories, apps and leftovers may differ "
               "for that reason");
}

// A scan has its folders by their paths without links.
std::vector<FileURL> scannedHomes(const Scan& scan) {
  if (scan.users().empty()) return {scan.facts().home};
  std::vector<HomeFolders::Located> homes;
  for (const ScannedUser& user : scan.users()) {
    homes.push_back({.url = FileURL(user.location, URLKind::directory), .location = user.location});
  }
  return HomeFolders(homes).outermost();
}

FileURL scannedHomeOfAll(const Scan& scan) {
  std::string folder = scannedHomes(scan).front().path();
  for (const FileURL& home : scannedHomes(scan)) {
    while (!path::isInside(home.path(), folder)) folder = path::parent(folder);
  }
  return FileURL(folder, URLKind::directory);
}

FileURL scannedURL(const std::string& text, const Scan& scan) {
  const FileURL& home = scan.facts().home;
  const bool isInHome = text == "~" || text.starts_with("~/");
  if (isInHome && !scan.users().empty()) {
    throw UsageError("\"" + escapedForTerminal(text) + "\": the scan is of all users; name a home folder");
  }
  if (text == "~") return home;
  if (text.starts_with("~/")) return home.appending(text.substr(2));
  const std::optional<FileURL> url = FileURL::parse(text);
  if (!url) throw UsageError("\"" + escapedForTerminal(text) + "\" is not an absolute path");
  return *url;
}

FileURL scannedFolder(const std::string& text, const Scan& scan) {
  FileURL url = scannedURL(text, scan);
  if (scan.folder(url.path())) return url;
  throw CommandError(ExitCode::notFound, "the scan does not have the folder " + escapedForTerminal(url.path()));
}

std::vector<FileURL> scannedRoots(const Scan& scan, StorageCategoryID category) {
  std::vector<FileURL> folders;
  std::set<std::uint32_t> known;  // a hostile file may list a folder thousands of times
  std::vector<FileURL> trashes{scan.facts().home.appending(".Trash")};
  for (const ScannedUser& user : scan.users()) trashes.push_back(user.home.appending(".Trash"));
  for (const ScannedRoot& root : scan.roots()) {
    if (root.category != category || !root.isListed) continue;
    const bool isTrash = std::find(trashes.begin(), trashes.end(), root.url) != trashes.end();
    if (isTrash) continue;
    const std::optional<ScannedFolder> folder = scan.folder(root.url.path());
    if (folder && known.insert(folder->id).second) folders.push_back(root.url);
  }
  return folders;
}

std::vector<TopItem> heldItems(ScannedItems::Answer answer, const Scan& scan, CommandContext& context) {
  for (const FileURL& url : answer.missing) context.warn("the scan does not have " + url.path());
  if (!answer.isWhole) {
    context.warn("the scan has only files larger than " + context.size(scan.facts().keptAbove) +
                 "; the list ends before smaller ones");
  }
  return std::move(answer.items);
}

}  // namespace quarn
