
#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/commands/CommandContext.h"
#include "quarn/commands/Commands.h"
#include "quarn/commands/ListOutput.h"
#include "quarn/commands/ScanOption.h"
#include "quarn/terminal/Table.h"
#include "quarn/wire/RecordJSON.h"

namespace quarn {
namespace {

using Sizes = std::vector<std::optional<SizeInfo>>;

// An app that vanished or cannot be read is listed without a size.
Sizes sizesOf(const std::vector<AppEntity>& apps, CommandContext& context) {
  Sizes sizes;
  for (const AppEntity& app : apps) {
    context.progress("sizing " + app.name);
    try {
      sizes.emplace_back(context.services().appsService().calculateAppSize(app));
    } catch (const FileError& error) {
      context.noteUnread(error);
      sizes.emplace_back(std::nullopt);
    }
  }
  context.endProgress();
  return sizes;
}

nlohmann::ordered_json listed(const std::vector<AppEntity>& apps, const Sizes& sizes) {
  nlohmann::ordered_json list = toJSON(apps);
  for (std::size_t i = 0; i < sizes.size(); ++i) list[i]["size"] = toJSON(sizes[i]);
  return list;
}

Table tableOf(const std::vector<AppEntity>& apps, const Sizes& sizes, CommandContext& context) {
  std::vector<Table::Column> columns{{.title = "NAME", .isFlexible = true},
                                     {.title = "VERSION"},
                                     {.title = "IDENTIFIER", .isFlexible = true},
                                     {.title = "PATH", .isFlexible = true}};
  if (!sizes.empty()) columns.insert(columns.begin() + 2, {.title = "SIZE", .align = Table::Align::right});
  Table table(columns);
  for (std::size_t i = 0; i < apps.size(); ++i) {
    const AppEntity& app = apps[i];
    std::vector<Table::Cell> row{app.name,
                                 app.version.value_or("–"),
                                 app.bundleIdentifier.value_or("–"),
                                 {context.displayPath(app.bundleURL), Style::dim}};
    if (!sizes.empty()) row.insert(row.begin() + 2, sizes[i] ? context.size(sizes[i]->allocatedBytes) : "–");
    table.addRow(std::move(row));
  }
  return table;
}

ExitCode showScanned(const Scan& scan, CommandContext& context) {
  std::vector<AppEntity> apps;
  Sizes sizes;
  for (ScannedApp& app : scan.apps(/*withInspections=*/false)) {
    apps.push_back(std::move(app.inspection.app));
    if (context.arguments().has("--sizes")) sizes.push_back(app.size);
  }
  showList(context, "apps", listed(apps, sizes), tableOf(apps, sizes, context));
  return context.finish();
}

ExitCode runApps(CommandContext& context) {
  if (const Scan* scan = context.scan()) return showScanned(*scan, context);
  const std::vector<AppEntity> apps = context.services().appsService().discoverApps();
  const Sizes sizes = context.arguments().has("--sizes") ? sizesOf(apps, context) : Sizes();
  showList(context, "apps", listed(apps, sizes), tableOf(apps, sizes, context));
  return context.finish();
}

constexpr std::array kAppsOptions{
    OptionRow{.name = "--sizes", .help = "Print the size of every app (reads each bundle)"},
    kScanOption,
};
constexpr std::array kAppsExamples{
    ExampleRow{.line = "quarn apps", .meaning = "the applications of this Mac"},
    ExampleRow{.line = "quarn --volume /mnt/mac apps --sizes",
               .meaning = "the applications of a mounted volume, with sizes"},
    ExampleRow{.line = "quarn apps --json | jq -r '.apps[].name'", .meaning = "the names only"},
};
constexpr CommandRow kAppsRow{.name = "apps",
                              .summary = "List the installed applications",
                              .options = kAppsOptions,
                              .examples = kAppsExamples,
                              .run = runApps,
                              .hasList = true};

}  // namespace

const CommandRow& appsCommand() { return kAppsRow; }

}  // namespace quarn
