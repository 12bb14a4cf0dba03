#include "quarn/commands/CommandTable.h"

#include <algorithm>
#include <array>

#include "quarn/commands/Commands.h"

namespace quarn {
namespace {

// clang-format off
constexpr std::array kGlobalOptions{
    OptionRow{.name = "--volume", .argument = "DIR", .help = "Mac volume mounted at DIR, in place of the running system", .isHostPath = true},
    OptionRow{.name = "--home", .argument = "PATH", .help = "Inspected user's home as the Mac names it, /Users/ann"},
    OptionRow{.name = "--resources", .argument = "DIR", .help = "Folder with vendors/ and storage-signatures.json, in place of the shipped ones", .isHostPath = true},
    OptionRow{.name = "--locale", .argument = "ID", .help = "Locale of comparison and texts, de_DE"},
    OptionRow{.name = "--json", .argument = "", .help = "One JSON document on standard output", .excludes = "--ndjson"},
    OptionRow{.name = "--ndjson", .argument = "", .help = "Lists as one JSON value a line"},
    OptionRow{.name = "--iec", .argument = "", .help = "Sizes in powers of 1024", .excludes = "--bytes"},
    OptionRow{.name = "--bytes", .argument = "", .help = "Sizes in plain bytes"},
    OptionRow{.name = "--color", .argument = "WHEN", .help = "Colours: auto, always or never", .choices = "auto|always|never"},
    OptionRow{.name = "--quiet", .argument = "", .help = "No progress and no warnings", .shortName = "-q", .excludes = "--verbose"},
    OptionRow{.name = "--verbose", .argument = "", .help = "More detail, and every item that could not be read", .shortName = "-v"},
    OptionRow{.name = "--log", .argument = "FILE", .help = "Append diagnostics to FILE, never on the inspected volume", .isHostPath = true},
    OptionRow{.name = "--forensic", .argument = "", .help = "Read nothing whose access time would change; refused where that cannot be kept"},
    OptionRow{.name = "--no-sandbox", .argument = "", .help = "Do not confine the process to the volume and the output file"},
    OptionRow{.name = "--help", .argument = "", .help = "What the command does and takes", .shortName = "-h"},
    OptionRow{.name = "--version", .argument = "", .help = "Version of this program", .shortName = "-V"},
};

constexpr std::array kAppOrAll{PositionalRow{.name = "APP", .help = "Name, bundle identifier or path of an app; not with --all"}};
constexpr std::array kApp{PositionalRow{.name = "APP", .help = "Name, bundle identifier or path of an app", .isRequired = true}};
constexpr std::array kPaths{PositionalRow{.name = "PATH", .help = "Folder as the Mac names it", .isRepeatable = true}};
constexpr std::array kCategory{PositionalRow{.name = "CATEGORY", .help = "apps, documents, photos, communication, games, development, systemData or other", .choices = "apps|documents|photos|communication|games|development|systemData|other"}};
constexpr std::array kReportedApp{PositionalRow{.name = "APP", .help = "Report on this app in place of the volume"}};
constexpr std::array kFolder{PositionalRow{.name = "DIR", .help = "New or empty folder of this machine", .isRequired = true, .isHostPath = true}};
constexpr std::array kVendorWords{PositionalRow{.name = "check", .help = "\"check\" and a folder of profiles tell their author what is wrong", .choices = "check"}, PositionalRow{.name = "DIR", .help = "Folder of profiles of this machine", .isHostPath = true}};
constexpr std::array kShell{PositionalRow{.name = "SHELL", .help = "bash, zsh or fish", .isRequired = true, .choices = "bash|zsh|fish"}};
constexpr std::array kTopic{PositionalRow{.name = "COMMAND", .help = "Command to tell more of"}};

constexpr std::array kAppsOptions{
    OptionRow{.name = "--sizes", .argument = "", .help = "Size every app too (reads each bundle)"},
};
constexpr std::array kInspectOptions{
    OptionRow{.name = "--all", .argument = "", .help = "Every app in place of one: a line each", .excludes = "APP"},
    OptionRow{.name = "--no-sizes", .argument = "", .help = "Do not size what is found"},
    OptionRow{.name = "--no-system", .argument = "", .help = "Leave system-wide folders out"},
    OptionRow{.name = "--no-heuristics", .argument = "", .help = "No search by resembling names"},
    OptionRow{.name = "--depth", .argument = "N", .help = "Levels that the searches by name look at (3)", .isNumber = true, .excludes = "--no-heuristics"},
    OptionRow{.name = "--max-results", .argument = "N", .help = "Finds at which such a search stops (50)", .isNumber = true, .excludes = "--no-heuristics"},
};
constexpr std::array kSampleOptions{
    OptionRow{.name = "--hostile", .argument = "", .help = "A volume that tries to hurt its reader: loops, pipes, bombs, odd names"},
};
constexpr std::array kPlanOptions{
    OptionRow{.name = "--mode", .argument = "MODE", .help = "cacheOnly, associatedDataOnly, removeApp or aggressive (removeApp)", .choices = "cacheOnly|associatedDataOnly|removeApp|aggressive"},
    OptionRow{.name = "--select", .argument = "ID", .help = "Plan for this artifact alone; may be given more than once", .isRepeatable = true},
};
constexpr std::array kTopOptions{
    OptionRow{.name = "--category", .argument = "C", .help = "The folders of a storage category", .choices = "apps|documents|photos|communication|games|development|systemData|other", .excludes = "PATH"},
    OptionRow{.name = "--files", .argument = "", .help = "Files and packages directly in the folders"},
    OptionRow{.name = "--children", .argument = "", .help = "Direct children of the folders, folders too", .excludes = "--files"},
    OptionRow{.name = "--limit", .argument = "N", .help = "How many (20)", .isNumber = true},
    OptionRow{.name = "--depth", .argument = "N", .help = "Levels to look at (no limit)", .isNumber = true, .excludes = "--files|--children"},
    OptionRow{.name = "--visits", .argument = "N", .help = "Items to look at in all (no limit)", .isNumber = true, .excludes = "--files|--children"},
    OptionRow{.name = "--hidden", .argument = "", .help = "Hidden items too"},
    OptionRow{.name = "--allocated", .argument = "", .help = "Rank by the space taken, not by the larger of space and length", .excludes = "--files|--children"},
};
constexpr std::array kReportOptions{
    OptionRow{.name = "--output", .argument = "FILE", .help = "Page to write, never on the inspected volume; - is standard output", .shortName = "-o", .isHostPath = true},
};
constexpr std::array kVendorsOptions{
    OptionRow{.name = "--match", .argument = "APP", .help = "Only the profiles that match an app", .excludes = "check"},
};
constexpr std::array kReceiptsOptions{
    OptionRow{.name = "--of", .argument = "PATH", .help = "Only the packages that installed a path"},
};
constexpr std::array kKextsOptions{
    OptionRow{.name = "--include-macos", .argument = "", .help = "The system's own extensions too"},
};
constexpr std::array kRPCOptions{
    OptionRow{.name = "--describe", .argument = "", .help = "Print the whole interface as JSON and end"},
};

constexpr std::array kAppsExamples{
    ExampleRow{.line = "quarn apps", .meaning = "the applications of this Mac"},
    ExampleRow{.line = "quarn --volume /mnt/mac apps --sizes", .meaning = "those of a mounted volume, with sizes"},
    ExampleRow{.line = "quarn apps --json | jq -r '.apps[].name'", .meaning = "their names alone"},
};
constexpr std::array kInspectExamples{
    ExampleRow{.line = "quarn inspect \"Lumen Notes\"", .meaning = "by name"},
    ExampleRow{.line = "quarn inspect com.lumenworks.notes --json", .meaning = "by bundle identifier, for a program"},
    ExampleRow{.line = "quarn --volume /mnt/mac --home /Users/ann inspect \"/Applications/Lumen Notes.app\"", .meaning = "by path, on a mounted volume"},
    ExampleRow{.line = "quarn inspect --all --no-sizes", .meaning = "how much of every app there is"},
};
constexpr std::array kPlanExamples{
    ExampleRow{.line = "quarn plan \"Lumen Notes\" --mode cacheOnly", .meaning = "what a cache cleanup would touch"},
    ExampleRow{.line = "quarn plan com.lumenworks.notes --mode aggressive --json", .meaning = "a whole plan for a program"},
};
constexpr std::array kStorageExamples{
    ExampleRow{.line = "quarn storage", .meaning = "every category"},
    ExampleRow{.line = "quarn storage development", .meaning = "one category, folder by folder"},
};
constexpr std::array kTopExamples{
    ExampleRow{.line = "quarn top ~", .meaning = "the largest files of the home folder"},
    ExampleRow{.line = "quarn top --category documents --limit 50", .meaning = "those of a storage category"},
    ExampleRow{.line = "quarn top / --children", .meaning = "what the volume's own folders take"},
};
constexpr std::array kCloudExamples{
    ExampleRow{.line = "quarn cloud", .meaning = "the cloud folders of the home folder"},
};
constexpr std::array kReportExamples{
    ExampleRow{.line = "quarn report -o storage.html", .meaning = "where the space goes, as a page"},
    ExampleRow{.line = "quarn report \"Lumen Notes\" -o notes.html", .meaning = "what belongs to an app, and each plan"},
};
constexpr std::array kVendorsExamples{
    ExampleRow{.line = "quarn vendors", .meaning = "the shipped profiles"},
    ExampleRow{.line = "quarn vendors --match Slack", .meaning = "those that know an app"},
    ExampleRow{.line = "quarn vendors check ./my-profiles", .meaning = "what is wrong with profiles of one's own"},
};
constexpr std::array kJobsExamples{
    ExampleRow{.line = "quarn jobs", .meaning = "every job of the user and of the system"},
};
constexpr std::array kKextsExamples{
    ExampleRow{.line = "quarn kexts", .meaning = "what others than Apple installed"},
    ExampleRow{.line = "quarn kexts --include-macos --json", .meaning = "all of them, for a program"},
};
constexpr std::array kReceiptsExamples{
    ExampleRow{.line = "quarn receipts", .meaning = "every receipt"},
    ExampleRow{.line = "quarn receipts --of /usr/local/bin/tool", .meaning = "the packages that installed a file"},
};
constexpr std::array kRPCExamples{
    ExampleRow{.line = "quarn --volume /mnt/mac rpc", .meaning = "serve requests on standard input"},
    ExampleRow{.line = "quarn rpc --describe", .meaning = "the interface as JSON"},
};
constexpr std::array kSampleExamples{
    ExampleRow{.line = "quarn sample mac && quarn --volume mac --home /Users/ann apps", .meaning = "a small Mac volume to try things on"},
};
constexpr std::array kCompletionExamples{
    ExampleRow{.line = "quarn completions bash > ~/.local/share/bash-completion/completions/quarn", .meaning = "completion for bash"},
};

constexpr std::array kManualExamples{
    ExampleRow{.line = "quarn manual > quarn.1", .meaning = "for man -l quarn.1"},
};
constexpr std::array kHelpExamples{
    ExampleRow{.line = "quarn help inspect", .meaning = "the same as quarn inspect --help"},
};

constexpr std::array kCommands{
    CommandRow{.name = "apps", .summary = "List the installed applications", .description = "", .positionals = {}, .options = kAppsOptions, .examples = kAppsExamples, .run = runApps, .hasList = true},
    CommandRow{.name = "inspect", .summary = "Find everything that belongs to an application", .description = "Every find is explained and sized. The column MODE shows which cleanup modes would select it by themselves: c cacheOnly, d associatedDataOnly, r removeApp, a aggressive.", .positionals = kAppOrAll, .options = kInspectOptions, .examples = kInspectExamples, .run = runInspect, .hasList = true},
    CommandRow{.name = "plan", .summary = "Preview the removal of an application", .description = "Shows what a removal would do, step by step. Nothing is carried out.", .positionals = kApp, .options = kPlanOptions, .examples = kPlanExamples, .run = runPlan, .hasList = true},
    CommandRow{.name = "storage", .summary = "Show where the disk's space goes", .description = "Every byte counts to at most one category. Ctrl-C ends with the totals so far.", .positionals = kCategory, .options = {}, .examples = kStorageExamples, .run = runStorage, .hasList = true},
    CommandRow{.name = "top", .summary = "List the largest items", .description = "", .positionals = kPaths, .options = kTopOptions, .examples = kTopExamples, .run = runTop, .hasList = true},
    CommandRow{.name = "cloud", .summary = "Tell local from cloud-only bytes", .description = "Without a path: the cloud folders among the user's documents.", .positionals = kPaths, .options = {}, .examples = kCloudExamples, .run = runCloud, .hasList = true},
    CommandRow{.name = "report", .summary = "Write a page to look at", .description = "One self-contained HTML file: no script, no network.", .positionals = kReportedApp, .options = kReportOptions, .examples = kReportExamples, .run = runReport},
    CommandRow{.name = "vendors", .summary = "List the vendor profiles", .description = "", .positionals = kVendorWords, .options = kVendorsOptions, .examples = kVendorsExamples, .run = runVendors, .hasList = true},
    CommandRow{.name = "jobs", .summary = "List the launchd jobs", .description = "", .positionals = {}, .options = {}, .examples = kJobsExamples, .run = runJobs, .hasList = true},
    CommandRow{.name = "receipts", .summary = "List the installer's receipts", .description = "", .positionals = {}, .options = kReceiptsOptions, .examples = kReceiptsExamples, .run = runReceipts, .hasList = true},
    CommandRow{.name = "kexts", .summary = "List the kernel extensions and whose they are", .description = "", .positionals = {}, .options = kKextsOptions, .examples = kKextsExamples, .run = runKexts, .hasList = true},
    CommandRow{.name = "rpc", .summary = "Serve every operation over JSON-RPC on standard input and output", .description = "", .positionals = {}, .options = kRPCOptions, .examples = kRPCExamples, .run = runRPCCommand},
    CommandRow{.name = "sample", .summary = "Write a small sample Mac volume", .description = "The one command that writes files: into a new or empty folder of this machine.", .positionals = kFolder, .options = kSampleOptions, .examples = kSampleExamples, .run = runSample},
    CommandRow{.name = "completions", .summary = "Print the completion script of a shell", .description = "", .positionals = kShell, .options = {}, .examples = kCompletionExamples, .run = runCompletions},
    CommandRow{.name = "manual", .summary = "Print the manual page", .description = "", .positionals = {}, .options = {}, .examples = kManualExamples, .run = runManual},
    CommandRow{.name = "help", .summary = "Tell about a command", .description = "", .positionals = kTopic, .options = {}, .examples = kHelpExamples, .run = runHelp},
};
// clang-format on

}  // namespace

// clang-format off
namespace {
constexpr std::array kExitCodes{
    ExitCodeRow{.code = ExitCode::ok, .meaning = "ok"},
    ExitCodeRow{.code = ExitCode::failure, .meaning = "failure"},
    ExitCodeRow{.code = ExitCode::usage, .meaning = "usage"},
    ExitCodeRow{.code = ExitCode::notFound, .meaning = "not found or ambiguous"},
    ExitCodeRow{.code = ExitCode::incomplete, .meaning = "incomplete (something could not be read)"},
    ExitCodeRow{.code = ExitCode::interrupted, .meaning = "interrupted"},
};
}  // namespace
// clang-format on

const CommandRow* commandRow(std::string_view name) {
  for (const CommandRow& row : kCommands) {
    if (row.name == name) return &row;
  }
  return nullptr;
}

const OptionRow* optionRow(std::string_view name, const CommandRow* command) {
  const auto isMeant = [name](const OptionRow& row) {
    return !name.empty() && (row.name == name || row.shortName == name);
  };
  const auto global = std::find_if(kGlobalOptions.begin(), kGlobalOptions.end(), isMeant);
  if (global != kGlobalOptions.end()) return &*global;
  if (command == nullptr) return nullptr;
  const auto own = std::find_if(command->options.begin(), command->options.end(), isMeant);
  return own != command->options.end() ? &*own : nullptr;
}

std::vector<std::string> choiceWords(std::string_view choices) {
  std::vector<std::string> result;
  while (!choices.empty()) {
    const std::size_t end = std::min(choices.find('|'), choices.size());
    result.emplace_back(choices.substr(0, end));
    choices.remove_prefix(std::min(end + 1, choices.size()));
  }
  return result;
}

std::span<const ExitCodeRow> exitCodeTable() { return kExitCodes; }
std::span<const OptionRow> globalOptions() { return kGlobalOptions; }
std::span<const CommandRow> commandTable() { return kCommands; }

}  // namespace quarn
