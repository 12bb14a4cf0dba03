#include <filesystem>

#include <fmt/format.h>

#include "QuarnCore/scans/ScanExport.h"
#include "QuarnPlatform/files/HostFile.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "QuarnPlatform/text/Text.h"
#include "quarn/commands/CommandContext.h"
#include "quarn/commands/Commands.h"
#include "quarn/commands/Homes.h"
#include "quarn/commands/HostOutput.h"
#include "quarn/commands/ScanOption.h"
#include "quarn/terminal/CountText.h"
#include "quarn/terminal/TerminalText.h"

namespace quarn {
namespace {

// The scan that is exported when no other file is named.
constexpr std::string_view kExportedScan = "scan.sqlite";

std::string liveLine(const ScanStore::Progress& progress, CommandContext& context) {
  std::int64_t bytes = 0;
  for (const auto& [category, size] : progress.totals) bytes = checkedAdd(bytes, size.allocatedBytes);
  const std::string line = "scanning: " + std::string(rawValue(progress.step));
  return bytes == 0 ? line : line + "  " + context.size(bytes);
}

// Made before the volume is opened, because the confined command makes no folders.
std::optional<std::string> exportFolder(const Arguments& arguments) {
  std::optional<std::string> folder = arguments.text("--export");
  if (!folder) return std::nullopt;
  const std::optional<std::string> volume = arguments.text("--volume");
  if (volume) refuseOnVolume("--export", *folder, *volume);
  std::error_code error;
  std::filesystem::create_directory(*folder, error);
  if (error) throwFileError(error.value(), "create", *folder);
  return folder;
}

// The tables of a scan that exists.
ExitCode exportKept(CommandContext& context) {
  refuseWithScan(context, "--output", "FILE is a scan already");
  const std::optional<std::string> folder = exportFolder(context.arguments());
  if (!folder) throw UsageError("scan --scan FILE requires --export DIR");
  const std::int64_t files = exportScan(*context.scan(), *folder, context.cancellation());
  if (context.wantsJSON()) {
    context.printDocument({{"folder", Text::validUTF8(*folder)}, {"files", files}});
  } else {
    context.print(fmt::format("Wrote {} to {}\n", countText(static_cast<std::size_t>(files), "file"),
                              escapedForTerminal(*folder)));
  }
  return context.finish();
}

ExitCode runScan(CommandContext& context) {
  if (context.arguments().has("--scan")) return exportKept(context);
  const std::optional<std::string> output = context.arguments().text("--output");
  if (output && output->empty()) throw UsageError("--output: FILE is empty");
  if (output == "-") throw UsageError("--output: a scan cannot go to standard output; name a file");
  const std::optional<std::string> folder = exportFolder(context.arguments());
  if (!output && !folder) throw UsageError("scan requires --output FILE, --export DIR or both");
  const std::string file = output ? *output : *folder + "/" + std::string(kExportedScan);
  refuseOnVolume("--output", file, context.services().files.hostFolder());
  const std::vector<FileURL> homes = context.isOfAllUsers() ? homesOf(context) : std::vector<FileURL>();
  const ScanStore::Written written = context.services().scanStore(homes).write(
      file, [&](const ScanStore::Progress& progress) { context.progress(liveLine(progress, context)); },
      context.cancellation());
  if (written.isComplete && folder) {
    context.progress("exporting the tables");
    exportScan(Scan::open(file), *folder, context.cancellation());
  }
  context.endProgress();
  if (context.wantsJSON()) {
    context.printDocument(
        {{"file", written.isComplete ? nlohmann::ordered_json(Text::validUTF8(file)) : nlohmann::ordered_json()},
         {"bytes", written.bytes},
         {"files", written.files},
         {"folders", written.folders},
         {"isComplete", written.isComplete && !context.isInterrupted()}});
  } else if (written.isComplete) {
    context.print(fmt::format("Wrote {}  {}, {}, {}\n", escapedForTerminal(file), context.size(written.bytes),
                              countText(static_cast<std::size_t>(written.files), "file"),
                              countText(static_cast<std::size_t>(written.folders), "folder")));
  }
  if (!written.isComplete) context.warn("interrupted: no scan was written");
  return context.finish();
}

constexpr std::array kScanOptions{
    OptionRow{.name = "--output",
              .argument = "FILE",
              .help = "Write the scan to FILE, which must not be on the inspected volume",
              .shortName = "-o",
              .isHostPath = true},
    OptionRow{.name = "--export",
              .argument = "DIR",
              .help = "Also write every table to DIR as CSV and NDJSON, without --output beside scan.sqlite",
              .isHostPath = true},
    OptionRow{.name = kAllUsersOption.name,
              .help = "Scan the home folders of all users of the volume",
              .excludes = kAllUsersOption.excludes},
    OptionRow{.name = kScanOption.name,
              .argument = kScanOption.argument,
              .help = "With --export: the tables of FILE, which an earlier scan has written",
              .isHostPath = true,
              .excludes = kScanOption.excludes},
};
constexpr std::array kScanExamples{
    ExampleRow{.line = "quarn --volume /mnt/mac scan -o monday.quarn", .meaning = "keep a scan of a mounted volume"},
    ExampleRow{.line = "quarn storage --scan monday.quarn", .meaning = "answer from the scan"},
    ExampleRow{.line = "quarn scan --all-users -o everybody.quarn", .meaning = "keep a scan of all home folders"},
    ExampleRow{.line = "quarn scan --export tables", .meaning = "every table as CSV and NDJSON"},
    ExampleRow{.line = "quarn scan --scan monday.quarn --export tables", .meaning = "the same for a scan that exists"},
};
constexpr CommandRow kScanRow{
    .name = "scan",
    .summary = "Keep a scan in a file, to compare and to query",
    .description =
        "Reads the volume once and writes a SQLite database: apps, what belongs to them, categories, every folder, "
        "the largest files, leftovers, launchd jobs, receipts and kernel extensions. docs/scans.md explains the "
        "tables. The file appears when it is complete; an interrupted scan leaves no file.",
    .options = kScanOptions,
    .examples = kScanExamples,
    .run = runScan};

}  // namespace

const CommandRow& scanCommand() { return kScanRow; }

}  // namespace quarn
