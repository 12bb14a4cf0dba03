#include "quarn/commands/VolumeOptions.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "quarn/commands/CommandError.h"
#include "quarn/terminal/TerminalText.h"

namespace quarn {
namespace {

constexpr std::array<std::string_view, 3> kNobodysHomes{"Shared", "Guest", ".localized"};

// Throws FileError when they cannot be listed; a volume without the folder has none.
std::vector<FileURL> usersHomes(const FileManager& files) {
  const FileURL users("/Users");
  std::vector<FileURL> homes;
  if (!files.itemExists(users)) return homes;
  for (const DirectoryEntry& entry : files.contentsOfDirectory(users, HiddenItems::skip)) {
    const std::string_view name = entry.url.lastPathComponent();
    const bool isNobodys = std::find(kNobodysHomes.begin(), kNobodysHomes.end(), name) != kNobodysHomes.end();
    if (entry.type == FileType::directory && !isNobodys) homes.push_back(entry.url);
  }
  return homes;
}

FileURL onlyHome(const FileManager& files) {
  const std::vector<FileURL> homes = usersHomes(files);
  if (homes.size() == 1) return homes.front();
  if (homes.empty()) {
    throw CommandError(ExitCode::usage, "no user's home in /Users of " + escapedForTerminal(files.hostFolder()) +
                                            "; name one with --home PATH");
  }
  std::string problem = "more than one user's home; choose with --home:";
  for (const FileURL& home : homes) problem += "\n  " + escapedForTerminal(home.path());
  throw CommandError(ExitCode::usage, problem);
}

FileURL homeOption(const std::string& text) {
  const std::optional<FileURL> home = FileURL::parse(text);
  if (!home) throw UsageError("--home: \"" + escapedForTerminal(text) + "\" is no absolute path");
  return *home;
}

// What is wrong with the home folder; empty for nothing.
std::string homeProblem(const FileManager& files) {
  const std::string home = "home folder " + escapedForTerminal(files.homeDirectory().path());
  try {
    const ItemFacts facts = files.requireFacts(files.homeDirectory(), Links::follow);
    return facts.type == FileType::directory ? "" : home + " is no folder";
  } catch (const FileError& error) {
    const bool isMissing = error.error() == ENOENT || error.error() == ENOTDIR;
    return home + (isMissing ? " is not on the volume" : std::string(": ") + std::strerror(error.error()));
  }
}

// What reading must not change is not read.
void refuseChangingAccessTimes(const FileManager& files) {
  const VolumeMount mount = files.mount();
  if (mount.isReadOnly || mount.keepsAccessTimes || mount.mayKeepAccessTimes) return;
  throw CommandError(ExitCode::failure,
                     "--forensic: reading " + escapedForTerminal(files.hostFolder()) +
                         " would change access times (mount it read-only or with noatime, or run as root)");
}

FileManager volumeAt(const std::optional<std::string>& folder, AccessTimes accessTimes) {
  return folder ? FileManager::mounted(*folder, FileURL("/Users"), accessTimes) : FileManager::host(accessTimes);
}

}  // namespace

FileManager openVolume(const Arguments& arguments) {
  const std::optional<std::string> volume = arguments.text("--volume");
  const std::optional<std::string> homeText = arguments.text("--home");
  const bool isForensic = arguments.has("--forensic");
  FileManager files = volumeAt(volume, isForensic ? AccessTimes::keepOrFail : AccessTimes::keepIfPermitted);
  if (isForensic) refuseChangingAccessTimes(files);
  if (volume && !homeText) return files.withHome(onlyHome(files));
  if (!homeText) return files;
  files = files.withHome(homeOption(*homeText));
  const std::string problem = homeProblem(files);
  if (problem.empty()) return files;
  // A shell that serves many volumes gets what there is; a person has more likely mistyped.
  if (arguments.command == nullptr || arguments.command->name != "rpc") throw CommandError(ExitCode::notFound, problem);
  std::fprintf(stderr, "quarn: warning: %s\n", problem.c_str());
  return files;
}

}  // namespace quarn
