#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <optional>
#include <set>
#include <string_view>

#include <fmt/format.h>
#include <fmt/ranges.h>  // fmt::join, since fmt 11

#include "QuarnCore/vendors/VendorProfileJSON.h"
#include "QuarnPlatform/base/FileError.h"
#include "QuarnPlatform/files/HostFile.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "QuarnPlatform/text/Text.h"
#include "quarn/commands/AppSelection.h"
#include "quarn/commands/CommandContext.h"
#include "quarn/commands/Commands.h"
#include "quarn/commands/Filters.h"
#include "quarn/commands/ListOutput.h"
#include "quarn/terminal/Table.h"
#include "quarn/terminal/TerminalText.h"
#include "quarn/wire/RecordJSON.h"

namespace quarn {
namespace {

constexpr std::string_view kEnding = ".json";
constexpr std::uintmax_t kLargestProfile = 16u << 20;

/// The result for one profile; `problem` is empty if the file is valid.
struct CheckedFile {
  std::string name{};
  std::string problem{};
};

std::string readProfile(const std::filesystem::path& path, std::string& problem) {
  try {
    return readHostFile(path.string(), kLargestProfile);
  } catch (const FileError& error) {
    problem = error.error() == EINVAL  ? "not a regular file"
              : error.error() == EFBIG ? "larger than 16 MiB"
                                       : "cannot be read: " + error.code().message();
    return {};
  }
}

// The profiles of several products of one vendor share its id: "jetbrains.json", "jetbrains.pycharm.json".
CheckedFile checkProfile(const std::filesystem::path& path) {
  CheckedFile checked{.name = path.filename().string()};
  const std::string text = readProfile(path, checked.problem);
  if (!checked.problem.empty()) return checked;
  const auto profile = decodeVendorProfile(text, &checked.problem);
  if (profile && !checked.name.starts_with(profile->id + ".")) {
    checked.problem = "id \"" + profile->id + "\" differs from the file name";
  }
  return checked;
}

// An existing index must name every profile, because others are not loaded, and no missing file.
CheckedFile checkIndex(const std::filesystem::path& path, std::vector<CheckedFile>& profiles) {
  CheckedFile checked{.name = path.filename().string()};
  const std::string text = readProfile(path, checked.problem);
  if (!checked.problem.empty()) return checked;
  const auto index = decodeVendorIndex(text, &checked.problem);
  if (!index) return checked;
  std::set<std::string> named;
  for (const VendorProfileRegistry::Index::Entry& entry : index->vendors) {
    named.insert(entry.file.ends_with(kEnding) ? entry.file : entry.file + std::string(kEnding));
  }
  for (CheckedFile& profile : profiles) {
    const bool isNamed = named.erase(profile.name) > 0;
    if (!isNamed && profile.problem.empty()) profile.problem = "index.json does not name this file";
  }
  if (!named.empty()) checked.problem = "names the missing file \"" + *named.begin() + "\"";
  return checked;
}

std::vector<CheckedFile> checkFolder(const std::string& folder) {
  std::error_code error;
  const std::filesystem::directory_iterator entries(folder, error);
  if (error) throwFileError(error.value(), "list", folder);
  std::vector<std::filesystem::path> paths;
  std::optional<std::filesystem::path> index;
  for (const auto& entry : entries) {
    if (entry.path().filename() == "index.json") {
      index = entry.path();
    } else if (entry.path().extension() == kEnding) {
      paths.push_back(entry.path());
    }
  }
  if (paths.empty()) {
    throw CommandError(ExitCode::notFound, escapedForTerminal(folder) + " has no profiles (files that end in .json)");
  }
  std::sort(paths.begin(), paths.end());
  std::vector<CheckedFile> checked;
  std::transform(paths.begin(), paths.end(), std::back_inserter(checked), checkProfile);
  if (index) checked.push_back(checkIndex(*index, checked));
  return checked;
}

nlohmann::ordered_json problemJSON(const CheckedFile& file) {
  return file.problem.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(Text::validUTF8(file.problem));
}

ExitCode runCheck(CommandContext& context) {
  const std::vector<std::string>& words = context.arguments().positionals;
  if (words.size() < 2) throw UsageError("vendors check requires DIR: a folder of profiles");
  const std::vector<CheckedFile> files = checkFolder(words[1]);
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  Table table({{.title = "FILE"}, {.title = "PROBLEM"}});
  bool areGood = true;
  for (const CheckedFile& file : files) {
    areGood = areGood && file.problem.empty();
    list.push_back({{"file", Text::validUTF8(file.name)}, {"problem", problemJSON(file)}});
    table.addRow({file.name,
                  {file.problem.empty() ? "good" : file.problem, file.problem.empty() ? Style::good : Style::danger}});
  }
  showList(context, "files", list, table);
  return context.finish(areGood ? ExitCode::ok : ExitCode::failure);
}

ExitCode runVendors(CommandContext& context) {
  if (!context.arguments().positionals.empty()) return runCheck(context);
  ListFilters filters(context);
  const VendorProfileRegistry& registry = context.services().vendorProfiles();
  const std::optional<std::string> app = context.arguments().text("--match");
  std::vector<VendorProfile> profiles = app ? registry.matchingProfiles(selectApp(context, *app)) : registry.profiles();
  filters.apply(profiles, [](const VendorProfile& profile) {
    return RowFacts{.name = profile.displayName, .category = VendorPathHintIndex::category(profile.id)};
  });
  Table table({{.title = "ID"},
               {.title = "NAME", .isFlexible = true},
               {.title = "CATEGORY"},
               {.title = "RULES", .align = Table::Align::right},
               {.title = "IDENTIFIERS", .isFlexible = true}});
  for (const VendorProfile& profile : profiles) {
    const auto category = VendorPathHintIndex::category(profile.id);
    table.addRow({profile.id,
                  profile.displayName,
                  category ? std::string(rawValue(*category)) : "–",
                  std::to_string(profile.artifacts.size() + profile.carveOuts.size()),
                  {fmt::format("{}", fmt::join(profile.match.bundleIDs, " ")), Style::dim}});
  }
  showList(context, "profiles", toJSON(profiles), table, &filters);
  return context.finish();
}

constexpr std::array kVendorsPositionals{
    PositionalRow{.name = "check", .help = "Check the profiles in DIR and print their errors", .choices = "check"},
    PositionalRow{.name = "DIR", .help = "Folder of profiles on this machine", .isHostPath = true}};
constexpr std::array kVendorsOptions =
    std::array{
        OptionRow{.name = "--match",
                  .argument = "APP",
                  .help = "List only the profiles that match APP",
                  .excludes = "check",
                  .needsVolume = true},
    } +
    kFilters<Filter::category, Filter::sort, Filter::limit>;
constexpr std::array kVendorsExamples{
    ExampleRow{.line = "quarn vendors", .meaning = "the built-in profiles"},
    ExampleRow{.line = "quarn vendors --match Slack", .meaning = "the profiles that match an app"},
    ExampleRow{.line = "quarn vendors check ./my-profiles", .meaning = "the errors in your own profiles"},
};
constexpr CommandRow kVendorsRow{.name = "vendors",
                                 .summary = "List the vendor profiles",
                                 .positionals = kVendorsPositionals,
                                 .options = kVendorsOptions,
                                 .examples = kVendorsExamples,
                                 .run = runVendors,
                                 .hasList = true,
                                 .needsVolume = false};

}  // namespace

const CommandRow& vendorsCommand() { return kVendorsRow; }

}  // namespace quarn
