
#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/commands/CommandContext.h"
#include "quarn/commands/Commands.h"
#include "quarn/commands/Filters.h"
#include "quarn/commands/ListOutput.h"
#include "quarn/commands/ScanOption.h"
#include "quarn/terminal/Table.h"
#include "quarn/terminal/TerminalText.h"
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

/// An app and its size; the size is absent if it was not asked for or cannot be read.
struct AppRow {
  AppEntity app{};
  std::optional<SizeInfo> size{};
};

nlohmann::ordered_json listed(const std::vector<AppRow>& rows, bool withSizes) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const AppRow& row : rows) {
    list.push_back(toJSON(row.app));
    if (withSizes) list.back()["size"] = toJSON(row.size);
  }
  return list;
}

Table tableOf(const std::vector<AppRow>& rows, bool withSizes, CommandContext& context) {
  std::vector<Table::Column> columns{{.title = "NAME", .isFlexible = true},
                                     {.title = "VERSION"},
                                     {.title = "IDENTIFIER", .isFlexible = true},
                                     {.title = "PATH", .isFlexible = true}};
  if (withSizes) columns.insert(columns.begin() + 2, {.title = "SIZE", .align = Table::Align::right});
  Table table(columns);
  for (const auto& [app, size] : rows) {
    std::vector<Table::Cell> row{app.name,
                                 app.version.value_or("–"),
                                 app.bundleIdentifier.value_or("–"),
                                 {context.displayPath(app.bundleURL), Style::dim}};
    if (withSizes) row.insert(row.begin() + 2, size ? context.size(size->allocatedBytes) : "–");
    table.addRow(std::move(row));
  }
  return table;
}

std::vector<AppRow> scannedApps(const Scan& scan, bool withSizes) {
  std::vector<AppRow> rows;
  for (ScannedApp& app : scan.apps(/*withInspections=*/false))
    rows.push_back({std::move(app.inspection.app), withSizes ? app.size : std::nullopt});
  return rows;
}

std::vector<AppRow> appsOfVolume(CommandContext& context, bool withSizes) {
  const std::vector<AppEntity> apps = context.services().appsService().discoverApps();
  const Sizes sizes = withSizes ? sizesOf(apps, context) : Sizes(apps.size());
  std::vector<AppRow> rows;
  for (std::size_t i = 0; i < apps.size(); ++i) rows.push_back({apps[i], sizes[i]});
  return rows;
}

// For completions: a line is a name.
ExitCode showNames(const std::vector<AppRow>& rows, CommandContext& context) {
  std::string text;
  for (const AppRow& row : rows) text += escapedForTerminal(row.app.name) + "\n";
  context.print(text);
  return context.finish();
}

ExitCode runApps(CommandContext& context) {
  ListFilters filters(context);
  const bool sortsBySize = context.arguments().text("--sort") == rawValue(ListOrder::size);
  const bool withSizes = context.arguments().has("--sizes") || filters.has(Filter::minSize) || sortsBySize;
  const Scan* scan = context.scan();
  if (scan != nullptr) refuseAgesWithScan(context, "when an app changed");
  std::vector<AppRow> rows = scan != nullptr ? scannedApps(*scan, withSizes) : appsOfVolume(context, withSizes);
  filters.apply(rows, [&](const AppRow& row) {
    return RowFacts{.name = row.app.name,
                    .bytes = row.size ? std::optional(row.size->allocatedBytes) : std::nullopt,
                    .urls = {row.app.bundleURL},
                    .modified = filters.modifiedAt(row.app.bundleURL)};
  });
  if (context.arguments().has("--names")) return showNames(rows, context);
  showList(
      context, "apps",
      {.json = [&] { return listed(rows, withSizes); }, .table = [&] { return tableOf(rows, withSizes, context); }},
      &filters);
  return context.finish();
}

constexpr std::array kAppsOptions =
    std::array{
        OptionRow{.name = "--sizes", .help = "Print the size of every app (reads each bundle)"},
        OptionRow{
            .name = "--names", .help = "Print only the names, one per line", .excludes = "--sizes|--json|--ndjson"},
        kScanOption,
    } +
    kFilters<Filter::minSize, Filter::olderThan, Filter::newerThan, Filter::exclude, Filter::sort, Filter::limit>;
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
