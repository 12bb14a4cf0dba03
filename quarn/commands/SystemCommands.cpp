#include <algorithm>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/commands/CommandContext.h"
#include "quarn/commands/Commands.h"
#include "quarn/commands/ListOutput.h"
#include "quarn/commands/PathArgument.h"
#include "quarn/terminal/Table.h"
#include "quarn/wire/RecordJSON.h"

namespace quarn {
namespace {

std::string programOf(const LaunchdEntry& entry) {
  if (entry.program) return *entry.program;
  return entry.programArguments.empty() ? "–" : entry.programArguments.front();
}

ExitCode runJobs(CommandContext& context) {
  const std::vector<LaunchdEntry> entries = context.services().launchdScanner.scan();
  Table table({{.title = "LABEL", .isFlexible = true},
               {.title = "PROGRAM", .isFlexible = true},
               {.title = "PROPERTY LIST", .isFlexible = true}});
  for (const LaunchdEntry& entry : entries) {
    table.addRow({entry.label, programOf(entry), {context.displayPath(entry.url), Style::dim}});
  }
  showList(context, "jobs", toJSON(entries), table);
  return context.finish();
}

ExitCode runReceipts(CommandContext& context) {
  const ReceiptSnapshot snapshot = context.services().receiptScanner.snapshot();
  std::vector<ReceiptInfo> receipts = snapshot.allReceipts();
  if (const std::optional<std::string> of = context.arguments().text("--of")) {
    const std::vector<std::string> ids = snapshot.packageIDs(pathArgument(*of, context).path());
    std::erase_if(receipts, [&](const ReceiptInfo& receipt) {
      return std::find(ids.begin(), ids.end(), receipt.packageIdentifier) == ids.end();
    });
  }
  Table table({{.title = "PACKAGE", .isFlexible = true},
               {.title = "VERSION"},
               {.title = "INSTALLED"},
               {.title = "FILES", .align = Table::Align::right}});
  for (const ReceiptInfo& receipt : receipts) {
    table.addRow({receipt.packageIdentifier, receipt.version.value_or("–"),
                  receipt.installDate ? toISO8601(*receipt.installDate) : "–", std::to_string(receipt.files.size())});
  }
  showList(context, "receipts", toJSON(receipts), table);
  return context.finish();
}

ExitCode runKexts(CommandContext& context) {
  const Services& services = context.services();
  const bool includeMacOS = context.arguments().has("--include-macos");
  const auto extensions = services.kernelExtensionService.installedKernelExtensions(includeMacOS);
  const auto owners =
      services.kernelExtensionAssociation().associations(extensions, services.appsService().discoverApps());
  nlohmann::ordered_json list = toJSON(extensions);
  Table table({{.title = "NAME", .isFlexible = true},
               {.title = "SIZE", .align = Table::Align::right},
               {.title = "BELONGS TO", .isFlexible = true},
               {.title = "EVIDENCE", .isFlexible = true},
               {.title = "PATH", .isFlexible = true}});
  for (std::size_t i = 0; i < extensions.size(); ++i) {
    const auto owner = owners.find(extensions[i].url.path());
    const bool isOwned = owner != owners.end();
    list[i]["association"] = isOwned ? toJSON(owner->second) : nlohmann::ordered_json();
    table.addRow({extensions[i].name,
                  extensions[i].size ? context.size(extensions[i].size->allocatedBytes) : "–",
                  isOwned ? owner->second.appName : "–",
                  isOwned ? owner->second.evidenceText() : "–",
                  {context.displayPath(extensions[i].url), Style::dim}});
  }
  showList(context, "kernelExtensions", list, table);
  return context.finish();
}

constexpr std::array kJobsExamples{
    ExampleRow{.line = "quarn jobs", .meaning = "all jobs of the user and the system"},
};
constexpr CommandRow kJobsRow{
    .name = "jobs", .summary = "List the launchd jobs", .examples = kJobsExamples, .run = runJobs, .hasList = true};

constexpr std::array kReceiptsOptions{
    OptionRow{.name = "--of", .argument = "PATH", .help = "List only the packages that installed PATH"},
};
constexpr std::array kReceiptsExamples{
    ExampleRow{.line = "quarn receipts", .meaning = "all receipts"},
    ExampleRow{.line = "quarn receipts --of /usr/local/bin/tool", .meaning = "the packages that installed a file"},
};
constexpr CommandRow kReceiptsRow{.name = "receipts",
                                  .summary = "List the installer receipts",
                                  .options = kReceiptsOptions,
                                  .examples = kReceiptsExamples,
                                  .run = runReceipts,
                                  .hasList = true};

constexpr std::array kKextsOptions{
    OptionRow{.name = "--include-macos", .help = "Include the extensions of macOS"},
};
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
