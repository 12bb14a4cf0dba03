#include <fmt/format.h>

#include "QuarnCore/scans/ScanDifference.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/commands/CommandContext.h"
#include "quarn/commands/Commands.h"
#include "quarn/commands/ScanOption.h"
#include "quarn/terminal/CountText.h"
#include "quarn/terminal/PathText.h"
#include "quarn/terminal/Table.h"
#include "quarn/terminal/TerminalText.h"
#include "quarn/wire/RecordJSON.h"

namespace quarn {
namespace {

std::string signedSize(const std::optional<SizeInfo>& before, const std::optional<SizeInfo>& after,
                       CommandContext& context) {
  const std::int64_t change = (after ? after->allocatedBytes : 0) - (before ? before->allocatedBytes : 0);
  return (change < 0 ? "-" : "+") + context.size(change < 0 ? -change : change);
}

Table tableOfSizes(std::string_view title) {
  return Table({{.title = "CHANGE", .align = Table::Align::right},
                {.title = "BEFORE", .align = Table::Align::right},
                {.title = "AFTER", .align = Table::Align::right},
                {.title = title, .isFlexible = true}});
}

void addRow(Table& table, const std::optional<SizeInfo>& before, const std::optional<SizeInfo>& after,
            const std::string& text, CommandContext& context) {
  const auto sizeText = [&](const std::optional<SizeInfo>& size) {
    return size ? context.size(size->allocatedBytes) : "–";
  };
  table.addRow({signedSize(before, after, context), sizeText(before), sizeText(after), text});
}

std::string appText(const AppEntity& app) { return app.name + (app.version ? " " + *app.version : ""); }

std::string sizesText(const ScanDifference& difference, const FileURL& home, CommandContext& context) {
  std::string text;
  const auto append = [&](const Table& table, bool isEmpty) {
    if (!isEmpty) text += table.text(context.out()) + "\n";
  };
  Table categories = tableOfSizes("CATEGORY");
  for (const CategoryChange& change : difference.categories) {
    addRow(categories, change.before, change.after, std::string(rawValue(change.id)), context);
  }
  append(categories, difference.categories.empty());
  Table folders = tableOfSizes("FOLDER");
  for (const FolderChange& change : difference.folders) {
    addRow(folders, change.before, change.after, pathText(change.url, home), context);
  }
  append(folders, difference.folders.empty());
  Table apps = tableOfSizes("APP");
  for (const AppChange& change : difference.changedApps) {
    const bool isUpdated = change.versionBefore != change.app.version;
    const std::string old = isUpdated ? " (was " + change.versionBefore.value_or("without version") + ")" : "";
    addRow(apps, change.before, change.after, appText(change.app) + old, context);
  }
  append(apps, difference.changedApps.empty());
  return text;
}

std::string newsText(const ScanDifference& difference, const FileURL& home) {
  std::string text;
  const auto line = [&](std::string_view what, const std::string& name) {
    text += fmt::format("{:<14}{}\n", what, escapedForTerminal(name));
  };
  for (const AppEntity& app : difference.newApps) line("new app", appText(app));
  for (const AppEntity& app : difference.goneApps) line("gone app", appText(app));
  for (const NewLeftover& leftover : difference.newLeftovers) {
    line("new leftovers", leftover.name + ", " + countText(static_cast<std::size_t>(leftover.items), "item"));
  }
  for (const LaunchdEntry& job : difference.newJobs) line("new job", job.label + "  " + pathText(job.url, home));
  for (const KernelExtensionInfo& extension : difference.newExtensions) line("new extension", extension.name);
  return text;
}

template <class Records>
void printKind(std::string_view kind, const Records& records, CommandContext& context) {
  for (const auto& record : records) {
    nlohmann::ordered_json line{{"kind", kind}};
    line.update(toJSON(record));
    context.printLines(nlohmann::ordered_json::array({std::move(line)}));
  }
}

void printLines(const ScanDifference& difference, CommandContext& context) {
  printKind("category", difference.categories, context);
  printKind("folder", difference.folders, context);
  printKind("newApp", difference.newApps, context);
  printKind("goneApp", difference.goneApps, context);
  printKind("changedApp", difference.changedApps, context);
  printKind("newLeftover", difference.newLeftovers, context);
  printKind("newJob", difference.newJobs, context);
  printKind("newExtension", difference.newExtensions, context);
}

ExitCode runDiff(CommandContext& context) {
  const std::vector<std::string>& files = context.arguments().positionals;
  const Scan before = Scan::open(files[0]);
  const Scan after = Scan::open(files[1]);
  context.confineToOpenFiles();
  warnIfUsersDiffer(before, after, context);
  const ScanDifference difference = compareScans(
      before, after, context.arguments().number("--min-size", kUsualSmallestChange), context.cancellation());
  if (context.wantsJSON()) {
    context.printDocument(toJSON(difference));
  } else if (context.wantsLines()) {
    printLines(difference, context);
  } else if (difference.isEmpty()) {
    context.print("No difference.\n");
  } else {
    const FileURL home = after.users().empty() ? after.facts().home : FileURL("/");
    context.print(sizesText(difference, home, context) + newsText(difference, home));
  }
  const bool isTold = context.arguments().has("--exit-code") && !difference.isEmpty();
  return context.finish(isTold ? ExitCode::failure : ExitCode::ok);
}

constexpr std::array kDiffPositionals{
    PositionalRow{
        .name = "OLD", .help = "The earlier scan, from \"quarn scan\"", .isRequired = true, .isHostPath = true},
    PositionalRow{.name = "NEW", .help = "The later scan", .isRequired = true, .isHostPath = true},
};
constexpr std::array kDiffOptions{
    OptionRow{.name = "--min-size",
              .argument = "BYTES",
              .help = "Leave out smaller changes (default 1000000)",
              .isNumber = true},
    OptionRow{.name = "--exit-code", .help = "Exit with 1 if the scans differ"},
};
constexpr std::array kDiffExamples{
    ExampleRow{.line = "quarn scan -o monday.quarn", .meaning = "keep a scan"},
    ExampleRow{.line = "quarn scan -o friday.quarn", .meaning = "keep another one later"},
    ExampleRow{.line = "quarn diff monday.quarn friday.quarn", .meaning = "what grew in a week"},
    ExampleRow{.line = "quarn diff monday.quarn friday.quarn --min-size 100000000 --json",
               .meaning = "changes of 100 MB and more, as JSON"},
};
constexpr CommandRow kDiffRow{
    .name = "diff",
    .summary = "Compare two scans",
    .description =
        "Lists what changed by category, folder and app, new and gone apps, new leftovers, launchd jobs and kernel "
        "extensions. A folder is listed if no single folder in it explains its change. Sizes are those on disk.",
    .positionals = kDiffPositionals,
    .options = kDiffOptions,
    .examples = kDiffExamples,
    .run = runDiff,
    .hasList = true};

}  // namespace

const CommandRow& diffCommand() { return kDiffRow; }

}  // namespace quarn
