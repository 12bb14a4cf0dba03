#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

#include "quarn/commands/CommandContext.h"
#include "quarn/commands/Commands.h"
#include "quarn/commands/Filters.h"
#include "quarn/commands/ListOutput.h"
#include "quarn/commands/PathArgument.h"
#include "quarn/report/Share.h"
#include "quarn/terminal/Table.h"
#include "quarn/wire/RecordJSON.h"

namespace quarn {
namespace {

constexpr long kNoLimit = std::numeric_limits<long>::max();
constexpr std::size_t kCloudBarWidth = 16;

std::vector<FileURL> cloudFolders(CommandContext& context) {
  std::vector<FileURL> folders = folderArguments(context);
  if (!folders.empty()) return folders;
  const StorageDashboardService& dashboard = context.services().storageDashboard();
  for (const FileURL& root :
       dashboard.categoryRoots(StorageCategoryID::documents, /*includeDiscovered=*/false, context.cancellation())) {
    if (dashboard.isCloudRoot(root) && context.services().files.isDirectory(root)) folders.push_back(root);
  }
  return folders;
}

ExitCode runCloud(CommandContext& context) {
  const TopItemsService& service = context.services().topItems();
  ListFilters filters(context);
  std::vector<std::pair<FileURL, CloudStorageSummary>> rows;
  for (const FileURL& folder : cloudFolders(context)) {
    const CloudStorageSummary summary =
        service.cloudSummary({folder}, kNoLimit, kNoLimit, /*allowSlowForPackages=*/true, context.cancellation());
    // The figures of an interrupted folder would be too small, so drop it.
    if (context.isInterrupted()) break;
    rows.emplace_back(folder, summary);
  }
  filters.apply(rows, [](const std::pair<FileURL, CloudStorageSummary>& row) {
    return RowFacts{.name = row.first.path(), .bytes = row.second.localBytes, .urls = {row.first}};
  });
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  Table table({{.title = "LOCAL", .align = Table::Align::right},
               {.title = "ONLY IN CLOUD", .align = Table::Align::right},
               {.title = "ALL", .align = Table::Align::right},
               {.title = "LOCAL SHARE", .barWidth = kCloudBarWidth},
               {.title = "FOLDER", .isFlexible = true}});
  for (const auto& [folder, summary] : rows) {
    nlohmann::ordered_json row{{"url", toJSON(folder)}};
    row.update(toJSON(summary));
    list.push_back(std::move(row));
    table.addRow({context.size(summary.localBytes), context.size(summary.cloudOnlyBytes),
                  context.size(checkedAdd(summary.localBytes, summary.cloudOnlyBytes)),
                  shareOf(summary.localBytes, checkedAdd(summary.localBytes, summary.cloudOnlyBytes)),
                  context.displayPath(folder)});
  }
  showList(context, "folders", list, table, &filters);
  return context.finish();
}

constexpr std::array kCloudOptions = kFilters<Filter::minSize, Filter::exclude, Filter::sort, Filter::limit>;
constexpr std::array kCloudExamples{
    ExampleRow{.line = "quarn cloud", .meaning = "the cloud folders of the home folder"},
};
constexpr CommandRow kCloudRow{.name = "cloud",
                               .summary = "Show local and cloud-only bytes",
                               .description = "Without PATH, inspects the cloud folders of the user.",
                               .positionals = kFolderPaths,
                               .options = kCloudOptions,
                               .examples = kCloudExamples,
                               .run = runCloud,
                               .hasList = true};

}  // namespace

const CommandRow& cloudCommand() { return kCloudRow; }

}  // namespace quarn
