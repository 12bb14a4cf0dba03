#include <fmt/format.h>

#include "QuarnPlatform/files/HostFile.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "QuarnPlatform/text/Text.h"
#include "quarn/commands/CommandContext.h"
#include "quarn/commands/Commands.h"
#include "quarn/sample/HostileVolume.h"
#include "quarn/sample/SampleVolume.h"
#include "quarn/terminal/TerminalText.h"

namespace quarn {

namespace {

ExitCode writeHostile(const std::string& folder, CommandContext& context) {
  const HostileSummary summary = writeHostileVolume(folder);
  if (context.wantsJSON()) {
    context.printDocument({{"folder", Text::validUTF8(folder)},
                           {"home", summary.home},
                           {"kinds", summary.kinds},
                           {"refused", summary.refused}});
    return context.finish();
  }
  context.print(fmt::format("Wrote a hostile Mac volume; home {}:\n", summary.home));
  for (const HostileItems& items : hostileItems()) {
    context.print(fmt::format("  {:<16}{}\n", items.name, items.meaning));
  }
  if (summary.refused > 0) context.warn(fmt::format("this file system did not take all of {}", summary.refused));
  return context.finish();
}

ExitCode runSample(CommandContext& context) {
  const std::string& folder = context.arguments().positionals.front();
  const std::optional<std::string> volume = context.arguments().text("--volume");
  if (volume && liesInHostFolder(folder, *volume)) {
    throw CommandError(ExitCode::usage, escapedForTerminal(folder) + " is on the inspected volume");
  }
  if (context.arguments().has("--hostile")) return writeHostile(folder, context);
  const SampleSummary summary = writeSampleVolume(folder);
  if (context.wantsJSON()) {
    context.printDocument({{"folder", Text::validUTF8(folder)},
                           {"home", summary.home},
                           {"apps", summary.apps},
                           {"files", summary.files}});
  } else {
    context.print(
        fmt::format("Wrote a sample Mac volume with {} apps and {} files. Try:\n", summary.apps, summary.files));
    for (const char* words : {"apps", "inspect \"Lumen Notes\"", "storage", "report -o storage.html"}) {
      context.print(fmt::format("  quarn --volume {} --home {} {}\n", escapedForTerminal(folder), summary.home, words));
    }
  }
  return context.finish();
}

constexpr std::array kSamplePositionals{PositionalRow{
    .name = "DIR", .help = "New or empty folder on this machine", .isRequired = true, .isHostPath = true}};
constexpr std::array kSampleOptions{
    OptionRow{.name = "--hostile", .help = "A volume that tries to hurt its reader: loops, pipes, bombs, odd names"},
};
constexpr std::array kSampleExamples{
    ExampleRow{.line = "quarn sample mac && quarn --volume mac --home /Users/ann apps",
               .meaning = "write a sample volume and list its applications"},
};
constexpr CommandRow kSampleRow{
    .name = "sample",
    .summary = "Write a small sample Mac volume",
    .description = "Writes into a new or empty folder on this machine, never to the inspected volume.",
    .positionals = kSamplePositionals,
    .options = kSampleOptions,
    .examples = kSampleExamples,
    .run = runSample,
    .readsSettings = false};

}  // namespace

const CommandRow& sampleCommand() { return kSampleRow; }

}  // namespace quarn
