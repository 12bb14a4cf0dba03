#include <algorithm>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/commands/CommandContext.h"
#include "quarn/commands/Commands.h"
#include "quarn/commands/Filters.h"
#include "quarn/commands/ListOutput.h"
#include "quarn/commands/PathArgument.h"
#include "quarn/terminal/PlainText.h"
#include "quarn/terminal/Table.h"
#include "quarn/wire/RecordJSON.h"

namespace quarn {
namespace {

std::string programOf(const LaunchdEntry& entry) {
  if (entry.program) return *entry.program;
  return entry.programArguments.empty() ? "–" : entry.programArguments.front();
}

ExitCode runJobs(CommandContext& context) {
  ListFilters filters(context);
  std::vector<LaunchdEntry> entries = context.services().launchdScanner.scan();
  filters.apply(entries, [&](const LaunchdEntry& entry) {
    return RowFacts{.name = entry.label, .urls = {entry.url}, .modified = filters.modifiedAt(entry.url)};
  });
  Table table({{.title = "LABEL", .isFlexible = true},
               {.title = "PROGRAM", .isFlexible = true},
               {.title = "PROPERTY LIST", .isFlexible = true}});
  for (const LaunchdEntry& entry : entries) {
    table.addRow({entry.label, programOf(entry), {context.displayPath(entry.url), Style::dim}});
  }
  showList(context, "jobs", toJSON(entries), table, &filters);
  return context.finish();
}

ExitCode runReceipts(CommandContext& context) {
  ListFilters filters(context);
  const ReceiptSnapshot snapshot = context.services().receiptScanner.snapshot();
  std::vector<ReceiptInfo> receipts = snapshot.allReceipts();
  if (const std::optional<std::string> of = context.arguments().text("--of")) {
    const FileURL item = pathArgument(*of, context);
    const std::vector<std::string> ids = snapshot.packageIDs(item.path());
    // A receipt may list an item that is gone; what no receipt lists is probably a typing error.
    if (ids.empty()) (void)context.services().files.requireFacts(item, Links::doNotFollow);
    std::erase_if(receipts, [&](const ReceiptInfo& receipt) {
      return std::find(ids.begin(), ids.end(), receipt.packageIdentifier) == ids.end();
    });
  }
  filters.apply(receipts, [](const ReceiptInfo& receipt) {
    return RowFacts{.name = receipt.packageIdentifier, .modified = receipt.installDate};
  });
  Table table({{.title = "PACKAGE", .isFlexible = true},
               {.title = "VERSION"},
               {.title = "INSTALLED"},
               {.title = "FILES", .align = Table::Align::right}});
  for (const ReceiptInfo& receipt : receipts) {
    table.addRow({receipt.packageIdentifier, receipt.version.value_or("–"),
                  receipt.installDate ? toISO8601(*receipt.installDate) : "–", std::to_string(receipt.files.size())});
  }
  showList(context, "receipts", toJSON(receipts), table, &filters);
  return context.finish();
}

/// An extension and the app that it belongs to.
struct OwnedExtension {
  KernelExtensionInfo extension{};
  std::optional<KernelExtensionAssociationService::Association> owner{};
};

std::vector<OwnedExtension> ownedExtensions(CommandContext& context) {
  const Services& services = context.services();
  const bool includeMacOS = context.arguments().has("--include-macos");
  const auto extensions = services.kernelExtensionService.installedKernelExtensions(includeMacOS);
  const auto owners =
      services.kernelExtensionAssociation().associations(extensions, services.appsService().discoverApps());
  std::vector<OwnedExtension> rows;
  for (const KernelExtensionInfo& extension : extensions) {
    const auto owner = owners.find(extension.url.path());
    rows.push_back({extension, owner != owners.end() ? std::optional(owner->second) : std::nullopt});
  }
  return rows;
}

RowFacts factsOf(const OwnedExtension& row, const ListFilters& filters) {
  RowFacts facts{
      .name = row.extension.name, .urls = {row.extension.url}, .modified = filters.modifiedAt(row.extension.url)};
  if (row.extension.size) facts.bytes = row.extension.size->allocatedBytes;
  if (row.owner) facts.owners = {row.owner->appName, row.owner->appID};
  return facts;
}

ExitCode runKexts(CommandContext& context) {
  ListFilters filters(context);
  std::vector<OwnedExtension> rows = ownedExtensions(context);
  filters.apply(rows, [&](const OwnedExtension& row) { return factsOf(row, filters); });
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  Table table({{.title = "NAME", .isFlexible = true},
               {.title = "SIZE", .align = Table::Align::right},
               {.title = "BELONGS TO", .isFlexible = true},
               {.title = "EVIDENCE", .isFlexible = true},
               {.title = "PATH", .isFlexible = true}});
  for (const auto& [extension, owner] : rows) {
    list.push_back(toJSON(extension));
    list.back()["association"] = toJSON(owner);
    table.addRow({extension.name,
                  extension.size ? context.size(extension.size->allocatedBytes) : "–",
                  owner ? owner->appName : "–",
                  owner ? plainText(owner->evidenceText()) : "–",
                  {context.displayPath(extension.url), Style::dim}});
  }
  showList(context, "kernelExtensions", list, table, &filters);
  return context.finish();
}

constexpr std::array kJobsOptions =
    kFilters<Filter::olderThan, Filter::newerThan, Filter::exclude, Filter::sort, Filter::limit>;
constexpr std::array kJobsExamples{
    ExampleRow{.line = "quarn jobs", .meaning = "all jobs of the user and the system"},
};
constexpr CommandRow kJobsRow{.name = "jobs",
                              .summary = "List the launchd jobs",
                              .options = kJobsOptions,
                              .examples = kJobsExamples,
                              .run = runJobs,
                              .hasList = true};

constexpr std::array kReceiptsOptions =
    std::array{
        OptionRow{.name = "--of", .argument = "PATH", .help = "List only the packages that installed PATH"},
    } +
    kFilters<Filter::olderThan, Filter::newerThan, Filter::sort, Filter::limit>;
constexpr std::array kReceiptsExamples{
    ExampleRow{.line = "quarn receipts", .meaning = "all receipts"},
    ExampleRow{.line = "quarn receipts --of /usr/local/bin/skiff", .meaning = "the packages that installed a file"},
};
constexpr CommandRow kReceiptsRow{.name = "receipts",
                                  .summary = "List the installer receipts",
                                  .options = kReceiptsOptions,
                                  .examples = kReceiptsExamples,
                                  .run = runReceipts,
                                  .hasList = true};

constexpr std::array kKextsOptions =
    std::array{
        OptionRow{.name = "--include-macos", .help = "Include the extensions of macOS"},
    } +
    kFilters<Filter::minSize, Filter::olderThan, Filter::newerThan, Filter::exclude, Filter::owner, Filter::sort,
             Filter::limit>;
constexpr std::array kKextsExamples{
    ExampleRow{.line = "quarn kexts", .meaning = "kernel extensions that are not part of macOS"},
    ExampleRow{.line = "quarn kexts --include-macos --json", .meaning = "all kernel extensions, as JSON"},
};
constexpr CommandRow kKextsRow{.name = "kexts",
                               .summary = "List the kernel extensions and the apps that they belong to",
                               .options = kKextsOptions,
                               .examples = kKextsExamples,
                               .run = runKexts,
                               .hasList = true};

}  // namespace

const CommandRow& jobsCommand() { return kJobsRow; }
const CommandRow& receiptsCommand() { return kReceiptsRow; }
const CommandRow& kextsCommand() { return kKextsRow; }

}  // namespace quarn
