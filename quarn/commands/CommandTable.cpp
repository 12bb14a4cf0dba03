#include "quarn/commands/CommandTable.h"

#include <algorithm>
#include <array>

#include "quarn/commands/Commands.h"

namespace quarn {
namespace {

// clang-format off
constexpr std::array kGlobalOptions{
    OptionRow{.name = "--volume", .argument = "DIR", .help = "Inspect the Mac volume mounted at DIR, not the running system", .isHostPath = true},
    OptionRow{.name = "--home", .argument = "PATH", .help = "Home folder of the inspected user, a path on the Mac: /Users/ann"},
    OptionRow{.name = "--resources", .argument = "DIR", .help = "Read vendors/ and storage-signatures.json from DIR, not the built-in ones", .isHostPath = true},
    OptionRow{.name = "--locale", .argument = "ID", .help = "Locale for sorting and texts: de_DE"},
    OptionRow{.name = "--json", .argument = "", .help = "Print one JSON document", .excludes = "--ndjson"},
    OptionRow{.name = "--ndjson", .argument = "", .help = "Print lists as one JSON value per line"},
    OptionRow{.name = "--iec", .argument = "", .help = "Print sizes in powers of 1024", .excludes = "--bytes"},
    OptionRow{.name = "--bytes", .argument = "", .help = "Print sizes in bytes"},
    OptionRow{.name = "--color", .argument = "WHEN", .help = "Use colours: auto, always or never", .choices = "auto|always|never"},
    OptionRow{.name = "--quiet", .argument = "", .help = "Print no progress and no warnings", .shortName = "-q", .excludes = "--verbose"},
    OptionRow{.name = "--verbose", .argument = "", .help = "Print more detail and every item that could not be read", .shortName = "-v"},
    OptionRow{.name = "--log", .argument = "FILE", .help = "Append diagnostics to FILE, which must not be on the inspected volume", .isHostPath = true},
    OptionRow{.name = "--help", .argument = "", .help = "Print the help of the command", .shortName = "-h"},
    OptionRow{.name = "--version", .argument = "", .help = "Print the version", .shortName = "-V"},
};

constexpr std::array kAppOrAll{PositionalRow{.name = "APP", .help = "Name, bundle identifier or path of an app"}};
constexpr std::array kApp{PositionalRow{.name = "APP", .help = "Name, bundle identifier or path of an app", .isRequired = true}};
constexpr std::array kPaths{PositionalRow{.name = "PATH", .help = "Folder, a path on the Mac", .isRepeatable = true}};
constexpr std::array kOwnedPaths{PositionalRow{.name = "PATH", .help = "Item, a path on the Mac", .isRequired = true, .isRepeatable = true}};
constexpr std::array kCategory{PositionalRow{.name = "CATEGORY", .help = "apps, documents, photos, communication, games, development, systemData or other", .choices = "apps|documents|photos|communication|games|development|systemData|other"}};
constexpr std::array kReportedApp{PositionalRow{.name = "APP", .help = "Report on this app, not on the volume"}};
constexpr std::array kFolder{PositionalRow{.name = "DIR", .help = "New or empty folder on this machine", .isRequired = true, .isHostPath = true}};
constexpr std::array kVendorWords{PositionalRow{.name = "check", .help = "Check the profiles in DIR and print their errors", .choices = "check"}, PositionalRow{.name = "DIR", .help = "Folder of profiles on this machine", .isHostPath = true}};
constexpr std::array kShell{PositionalRow{.name = "SHELL", .help = "bash, zsh or fish", .isRequired = true, .choices = "bash|zsh|fish"}};
constexpr std::array kTopic{PositionalRow{.name = "COMMAND", .help = "Command to describe"}};

constexpr std::array kAppsOptions{
    OptionRow{.name = "--sizes", .argument = "", .help = "Print the size of every app (reads each bundle)"},
};
constexpr std::array kInspectOptions{
    OptionRow{.name = "--all", .argument = "", .help = "Inspect every app, one line per app", .excludes = "APP"},
    OptionRow{.name = "--no-sizes", .argument = "", .help = "Do not size the artifacts"},
    OptionRow{.name = "--no-system", .argument = "", .help = "Skip system-wide folders"},
    OptionRow{.name = "--no-heuristics", .argument = "", .help = "Do not search by similar names"},
    OptionRow{.name = "--depth", .argument = "N", .help = "Search by name at most N levels deep (default 3)", .isNumber = true, .excludes = "--no-heuristics"},
    OptionRow{.name = "--max-results", .argument = "N", .help = "Stop a search by name after N results (default 50)", .isNumber = true, .excludes = "--no-heuristics"},
};
constexpr std::array kPlanOptions{
    OptionRow{.name = "--mode", .argument = "MODE", .help = "cacheOnly, associatedDataOnly, removeApp or aggressive (default removeApp)", .choices = "cacheOnly|associatedDataOnly|removeApp|aggressive"},
    OptionRow{.name = "--select", .argument = "ID", .help = "Plan only for this artifact; may be repeated", .isRepeatable = true},
    OptionRow{.name = "--whole-volume", .argument = "", .help = "Leave out items of other apps, and add items with strong evidence for this app", .excludes = "--select"},
};
constexpr std::array kLeftoversOptions{
    OptionRow{.name = "--size", .argument = "", .help = "Size the leftovers, and list the largest first"},
    OptionRow{.name = "--older-than", .argument = "AGE", .help = "List only leftovers that were not changed for AGE: 90d, 12w, 6m or 2y"},
    OptionRow{.name = "--all-users", .argument = "", .help = "Search the home folders of all users of the volume"},
};
constexpr std::array kTopOptions{
    OptionRow{.name = "--category", .argument = "C", .help = "Search the folders of a storage category", .choices = "apps|documents|photos|communication|games|development|systemData|other", .excludes = "PATH"},
    OptionRow{.name = "--files", .argument = "", .help = "List files and packages directly in the folders"},
    OptionRow{.name = "--children", .argument = "", .help = "List direct children of the folders, including folders", .excludes = "--files"},
    OptionRow{.name = "--limit", .argument = "N", .help = "List at most N items (default 20)", .isNumber = true},
    OptionRow{.name = "--depth", .argument = "N", .help = "Search at most N levels deep (default no limit)", .isNumber = true, .excludes = "--files|--children"},
    OptionRow{.name = "--visits", .argument = "N", .help = "Visit at most N items (default no limit)", .isNumber = true, .excludes = "--files|--children"},
    OptionRow{.name = "--hidden", .argument = "", .help = "Include hidden items"},
    OptionRow{.name = "--allocated", .argument = "", .help = "Rank by space on disk, not by the larger of space and length", .excludes = "--files|--children"},
};
constexpr std::array kReportOptions{
    OptionRow{.name = "--output", .argument = "FILE", .help = "Write to FILE, which must not be on the inspected volume; - is standard output", .shortName = "-o", .isHostPath = true},
};
constexpr std::array kVendorsOptions{
    OptionRow{.name = "--match", .argument = "APP", .help = "List only the profiles that match APP", .excludes = "check"},
};
constexpr std::array kReceiptsOptions{
    OptionRow{.name = "--of", .argument = "PATH", .help = "List only the packages that installed PATH"},
};
constexpr std::array kKextsOptions{
    OptionRow{.name = "--include-macos", .argument = "", .help = "Include the extensions of macOS"},
};
constexpr std::array kRPCOptions{
    OptionRow{.name = "--describe", .argument = "", .help = "Print the interface as JSON and exit"},
};

constexpr std::array kAppsExamples{
    ExampleRow{.line = "quarn apps", .meaning = "the applications of this Mac"},
    ExampleRow{.line = "quarn --volume /mnt/mac apps --sizes", .meaning = "the applications of a mounted volume, with sizes"},
    ExampleRow{.line = "quarn apps --json | jq -r '.apps[].name'", .meaning = "the names only"},
};
constexpr std::array kInspectExamples{
    ExampleRow{.line = "quarn inspect \"Lumen Notes\"", .meaning = "by name"},
    ExampleRow{.line = "quarn inspect com.lumenworks.notes --json", .meaning = "by bundle identifier, as JSON"},
    ExampleRow{.line = "quarn --volume /mnt/mac --home /Users/ann inspect \"/Applications/Lumen Notes.app\"", .meaning = "by path, on a mounted volume"},
    ExampleRow{.line = "quarn inspect --all --no-sizes", .meaning = "the number of artifacts of every app"},
};
constexpr std::array kPlanExamples{
    ExampleRow{.line = "quarn plan \"Lumen Notes\" --mode cacheOnly", .meaning = "what a cache cleanup would remove"},
    ExampleRow{.line = "quarn plan com.lumenworks.notes --mode aggressive --json", .meaning = "a complete plan as JSON"},
    ExampleRow{.line = "quarn plan \"Lumen Notes\" --whole-volume", .meaning = "a plan that considers what other apps own"},
};
constexpr std::array kOwnerExamples{
    ExampleRow{.line = "quarn owner \"~/Library/Application Support/Lumen Notes\"", .meaning = "the owner of a folder, the evidence and the rivals"},
};
constexpr std::array kLeftoversExamples{
    ExampleRow{.line = "quarn leftovers", .meaning = "the files of apps that are not installed"},
    ExampleRow{.line = "quarn leftovers --size --older-than 90d", .meaning = "only old leftovers, the largest first"},
};
constexpr std::array kStorageExamples{
    ExampleRow{.line = "quarn storage", .meaning = "every category"},
    ExampleRow{.line = "quarn storage development", .meaning = "one category, folder by folder"},
};
constexpr std::array kTopExamples{
    ExampleRow{.line = "quarn top ~", .meaning = "the largest files of the home folder"},
    ExampleRow{.line = "quarn top --category documents --limit 50", .meaning = "the largest files of a storage category"},
    ExampleRow{.line = "quarn top / --children", .meaning = "the sizes of the top-level folders"},
};
constexpr std::array kCloudExamples{
    ExampleRow{.line = "quarn cloud", .meaning = "the cloud folders of the home folder"},
};
constexpr std::array kReportExamples{
    ExampleRow{.line = "quarn report -o storage.html", .meaning = "a report on the space of the volume"},
    ExampleRow{.line = "quarn report \"Lumen Notes\" -o notes.html", .meaning = "a report on an app and its cleanup plans"},
};
constexpr std::array kVendorsExamples{
    ExampleRow{.line = "quarn vendors", .meaning = "the built-in profiles"},
    ExampleRow{.line = "quarn vendors --match Slack", .meaning = "the profiles that match an app"},
    ExampleRow{.line = "quarn vendors check ./my-profiles", .meaning = "the errors in your own profiles"},
};
constexpr std::array kJobsExamples{
    ExampleRow{.line = "quarn jobs", .meaning = "all jobs of the user and the system"},
};
constexpr std::array kKextsExamples{
    ExampleRow{.line = "quarn kexts", .meaning = "kernel extensions that are not part of macOS"},
    ExampleRow{.line = "quarn kexts --include-macos --json", .meaning = "all kernel extensions, as JSON"},
};
constexpr std::array kReceiptsExamples{
    ExampleRow{.line = "quarn receipts", .meaning = "all receipts"},
    ExampleRow{.line = "quarn receipts --of /usr/local/bin/tool", .meaning = "the packages that installed a file"},
};
constexpr std::array kRPCExamples{
    ExampleRow{.line = "quarn --volume /mnt/mac rpc", .meaning = "serve requests on standard input"},
    ExampleRow{.line = "quarn rpc --describe", .meaning = "the interface as JSON"},
};
constexpr std::array kSampleExamples{
    ExampleRow{.line = "quarn sample mac && quarn --volume mac --home /Users/ann apps", .meaning = "write a sample volume and list its applications"},
};
constexpr std::array kCompletionExamples{
    ExampleRow{.line = "quarn completions bash > ~/.local/share/bash-completion/completions/quarn", .meaning = "install the completions for bash"},
};

constexpr std::array kManualExamples{
    ExampleRow{.line = "quarn manual > quarn.1", .meaning = "write the page; read it with man -l quarn.1"},
};
constexpr std::array kHelpExamples{
    ExampleRow{.line = "quarn help inspect", .meaning = "the same as quarn inspect --help"},
};

constexpr std::array kCommands{
    CommandRow{.name = "apps", .summary = "List the installed applications", .description = "", .positionals = {}, .options = kAppsOptions, .examples = kAppsExamples, .run = runApps, .hasList = true},
    CommandRow{.name = "inspect", .summary = "Find everything that belongs to an application", .description = "Explains and sizes every artifact. The column MODE lists the cleanup modes that select an artifact by default: c cacheOnly, d associatedDataOnly, r removeApp, a aggressive.", .positionals = kAppOrAll, .options = kInspectOptions, .examples = kInspectExamples, .run = runInspect, .hasList = true},
    CommandRow{.name = "plan", .summary = "Preview the removal of an application", .description = "Shows the steps of a removal. quarn never executes a plan.", .positionals = kApp, .options = kPlanOptions, .examples = kPlanExamples, .run = runPlan, .hasList = true},
    CommandRow{.name = "owner", .summary = "Show which app owns an item", .description = "Compares the evidence for every installed app. The strongest evidence decides; apps with weaker evidence are rivals.", .positionals = kOwnedPaths, .options = {}, .examples = kOwnerExamples, .run = runOwner, .hasList = true},
    CommandRow{.name = "leftovers", .summary = "List the files of apps that are not installed", .description = "Groups them by former owner. Never lists items of macOS, items that several apps share, and items whose owner is unknown.", .positionals = {}, .options = kLeftoversOptions, .examples = kLeftoversExamples, .run = runLeftovers, .hasList = true},
    CommandRow{.name = "storage", .summary = "Show where the disk's space goes", .description = "Every byte counts for at most one category. Ctrl-C stops the scan and prints the totals so far.", .positionals = kCategory, .options = {}, .examples = kStorageExamples, .run = runStorage, .hasList = true},
    CommandRow{.name = "top", .summary = "List the largest items", .description = "", .positionals = kPaths, .options = kTopOptions, .examples = kTopExamples, .run = runTop, .hasList = true},
    CommandRow{.name = "cloud", .summary = "Show local and cloud-only bytes", .description = "Without PATH, inspects the cloud folders of the user.", .positionals = kPaths, .options = {}, .examples = kCloudExamples, .run = runCloud, .hasList = true},
    CommandRow{.name = "report", .summary = "Write an HTML report", .description = "The report is one self-contained HTML file without scripts. It uses no network.", .positionals = kReportedApp, .options = kReportOptions, .examples = kReportExamples, .run = runReport},
    CommandRow{.name = "vendors", .summary = "List the vendor profiles", .description = "", .positionals = kVendorWords, .options = kVendorsOptions, .examples = kVendorsExamples, .run = runVendors, .hasList = true},
    CommandRow{.name = "jobs", .summary = "List the launchd jobs", .description = "", .positionals = {}, .options = {}, .examples = kJobsExamples, .run = runJobs, .hasList = true},
    CommandRow{.name = "receipts", .summary = "List the installer receipts", .description = "", .positionals = {}, .options = kReceiptsOptions, .examples = kReceiptsExamples, .run = runReceipts, .hasList = true},
    CommandRow{.name = "kexts", .summary = "List the kernel extensions and the apps that they belong to", .description = "", .positionals = {}, .options = kKextsOptions, .examples = kKextsExamples, .run = runKexts, .hasList = true},
    CommandRow{.name = "rpc", .summary = "Serve every operation over JSON-RPC on standard input and output", .description = "", .positionals = {}, .options = kRPCOptions, .examples = kRPCExamples, .run = runRPCCommand},
    CommandRow{.name = "sample", .summary = "Write a small sample Mac volume", .description = "Writes into a new or empty folder on this machine, never to the inspected volume.", .positionals = kFolder, .options = {}, .examples = kSampleExamples, .run = runSample},
    CommandRow{.name = "completions", .summary = "Print the completion script for a shell", .description = "", .positionals = kShell, .options = {}, .examples = kCompletionExamples, .run = runCompletions},
    CommandRow{.name = "manual", .summary = "Print the manual page", .description = "", .positionals = {}, .options = {}, .examples = kManualExamples, .run = runManual},
    CommandRow{.name = "help", .summary = "Print the help of a command", .description = "", .positionals = kTopic, .options = {}, .examples = kHelpExamples, .run = runHelp},
};
// clang-format on

}  // namespace

// clang-format off
namespace {
constexpr std::array kExitCodes{
    ExitCodeRow{.code = ExitCode::ok, .meaning = "success"},
    ExitCodeRow{.code = ExitCode::failure, .meaning = "failure"},
    ExitCodeRow{.code = ExitCode::usage, .meaning = "usage error"},
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
