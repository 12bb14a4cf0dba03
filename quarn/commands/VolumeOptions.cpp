#include "quarn/commands/VolumeOptions.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "QuarnPlatform/files/ReadReport.h"
#include "QuarnSystem/UserHomes.h"
#include "quarn/commands/CommandError.h"
#include "quarn/terminal/TerminalText.h"

namespace quarn {
namespace {

// With --all-users, commands find the other homes themselves.
FileURL homeWithoutOption(const FileManager& files, bool areAllWanted) {
  const std::vector<FileURL> homes = userHomes(files);
  if (homes.size() == 1 || (areAllWanted && !homes.empty())) return homes.front();
  if (homes.empty()) {
    throw CommandError(ExitCode::usage, "no home folder in /Users of " + escapedForTerminal(files.hostFolder()) +
                                            "; name one with --home PATH");
  }
  std::string problem = "several home folders; choose one with --home:";
  for (const FileURL& home : homes) problem += "\n  " + escapedForTerminal(home.path());
  throw CommandError(ExitCode::usage, problem);
}

FileURL homeOption(const std::string& text) {
  const std::optional<FileURL> home = FileURL::parse(text);
  if (!home) throw UsageError("--home: \"" + escapedForTerminal(text) + "\" is not an absolute path");
  return *home;
}

// Empty if the home folder is valid.
std::string homeProblem(const FileManager& files) {
  const std::string home = "home folder " + escapedForTerminal(files.homeDirectory().path());
  try {
    const ItemFacts facts = files.requireFacts(files.homeDirectory(), Links::follow);
    return facts.type == FileType::directory ? "" : home + " is not a folder";
  } catch (const FileError& error) {
    const bool isMissing = error.error() == ENOENT || error.error() == ENOTDIR;
    if (isMissing) return home + " is not on the volume";
    const std::string_view remedy = remedyFor(unreadableCause(error.error()));
    return home + ": " + std::strerror(error.error()) + (remedy.empty() ? "" : " (" + std::string(remedy) + ")");
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

// Every Mac has this file on its system volume.
void refuseOtherSystems(const FileManager& files) {
  if (files.itemExists(FileURL("/System/Library/CoreServices/SystemVersion.plist"))) return;
  throw CommandError(ExitCode::usage,
                     "this system is not a Mac: name a mounted Mac volume with --volume DIR or QUARN_VOLUME");
}

// By its command, or by an option of a command that otherwise works without a volume.
bool needsVolume(const Arguments& arguments) {
  if (arguments.command == nullptr) return false;
  const std::span<const OptionRow> options = arguments.command->options;
  return arguments.command->needsVolume || std::any_of(options.begin(), options.end(), [&](const OptionRow& option) {
           return option.needsVolume && arguments.has(option.name);
         });
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
  if (!volume && needsVolume(arguments)) refuseOtherSystems(files);
  if (isForensic) refuseChangingAccessTimes(files);
  if (volume && !homeText) return files.withHome(homeWithoutOption(files, arguments.has("--all-users")));
  if (!homeText) return files;
  files = files.withHome(homeOption(*homeText));
  const std::string problem = homeProblem(files);
  if (problem.empty()) return files;
  // `quarn rpc` may serve many volumes and works without a home folder. For a command, a missing home folder is more
  // likely a typing error.
  if (arguments.command == nullptr || arguments.command->name != "rpc") throw CommandError(ExitCode::notFound, problem);
  std::fprintf(stderr, "quarn: warning: %s\n", problem.c_str());
  return files;
}

}  // namespace quarn
