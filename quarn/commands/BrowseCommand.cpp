#include <array>
#include <filesystem>

#include <fmt/format.h>
#include <unistd.h>

#include "QuarnPlatform/files/HostFile.h"
#include "quarn/browse/BrowseScreen.h"
#include "quarn/browse/BrowseSession.h"
#include "quarn/commands/BrowseSources.h"
#include "quarn/commands/Choices.h"
#include "quarn/commands/CommandContext.h"
#include "quarn/commands/Commands.h"
#include "quarn/commands/HostOutput.h"
#include "quarn/commands/PathArgument.h"
#include "quarn/commands/ScanOption.h"
#include "quarn/terminal/CountText.h"
#include "quarn/terminal/Table.h"
#include "quarn/terminal/TerminalText.h"

namespace quarn {
namespace {

constexpr FixedText kBrowsedCategories = kChoiceList<StorageCategoryID, StorageCategoryID::other>;

void requireScreen(const CommandContext& context) {
  if (context.wantsJSON() || context.wantsLines()) {
    throw UsageError("browse prints no JSON: it shows a screen (quarn tree and quarn top print lists)");
  }
  if (::isatty(STDIN_FILENO) == 0 || ::isatty(STDOUT_FILENO) == 0 || !context.out().rewritesLines) {
    throw UsageError("browse needs a terminal as input and output (quarn tree and quarn top print lists)");
  }
  if (!hasTerminalScreen()) {
    throw CommandError(
        ExitCode::failure,
        "this build of quarn has no browser: it was built without ncurses (use quarn tree or quarn top)");
  }
}

bool isPath(const std::string& text) {
  return text.starts_with('/') || text.starts_with('~') || text.starts_with("file:");
}

StorageCategoryID browsedCategory(const std::string& text) {
  const std::optional<StorageCategoryID> category = fromRawValue<StorageCategoryID>(text);
  if (category && *category != StorageCategoryID::free) return *category;
  throw UsageError(fmt::format("\"{}\" is neither an absolute path nor a category: {}", escapedForTerminal(text),
                               std::string_view(kBrowsedCategories)));
}

BrowseSources::Place browsedPlace(CommandContext& context) {
  const Arguments& arguments = context.arguments();
  const std::string text = arguments.positionals.empty() ? "~" : arguments.positionals.front();
  const Scan* scan = context.scan();
  if (!isPath(text)) {
    const StorageCategoryID category = browsedCategory(text);
    return {.top = text,
            .folders = scan != nullptr ? scannedRoots(*scan, category)
                                       : context.services().storageDashboard().topItemRoots(
                                             category, /*includeDiscovered=*/true, Cancellation::never()),
            .isCategory = true};
  }
  const bool isDefaultOfScan = scan != nullptr && arguments.positionals.empty();
  const FileURL folder = isDefaultOfScan   ? scannedHomeOfAll(*scan)
                         : scan != nullptr ? scannedFolder(text, *scan)
                                           : folderArgument(text, context);
  return {.top = folder.path(), .folders = {folder}};
}

/// Writes the marked paths to the file of --output.
class PathListWriter {
 public:
  explicit PathListWriter(CommandContext& context)
      : file_(context.arguments().text("--output").value_or("")), endsWithNUL_(context.arguments().has("--null")) {
    if (!context.arguments().has("--output")) return;
    if (file_.empty() || file_ == "-") throw UsageError("--output: expected the name of a file");
    if (const std::optional<std::string> scan = context.arguments().text("--scan")) {
      std::error_code error;
      if (std::filesystem::equivalent(file_, *scan, error)) throw UsageError("--output: " + file_ + " is the scan");
    } else {
      refuseOnVolume("--output", file_, context.services().files.hostFolder());
    }
    checkHostFile(file_);
  }

  /// Returns what to say to the user.
  [[nodiscard]] std::string write(const std::vector<std::string>& paths) const {
    if (file_.empty()) return "start quarn browse with --output FILE to write the marked paths";
    std::string content;
    for (const std::string& path : paths) {
      if (!endsWithNUL_ && path.find('\n') != std::string::npos) {
        return "a marked path has a line break: start quarn browse with --null";
      }
      content += path;
      content += endsWithNUL_ ? '\0' : '\n';
    }
    try {
      writeHostFile(file_, content);
    } catch (const FileError& error) {
      return error.what();
    }
    return "wrote " + countText(paths.size(), "path") + " to " + file_;
  }

 private:
  std::string file_;
  bool endsWithNUL_;
};

void printMarks(const BrowseTree& tree, const std::vector<BrowseTree::Node>& marks, const BrowseFeed::State& fed,
                CommandContext& context) {
  Table table({{.title = "ON DISK", .align = Table::Align::right},
               {.title = "RISK"},
               {.title = "OWNER", .isFlexible = true},
               {.title = "ITEM", .isFlexible = true}});
  for (const BrowseTree::Node node : marks) {
    const FileURL url(tree.path(node));
    const KnownColumns known = fed.knowledge ? columnsOf((*fed.knowledge)(url)) : KnownColumns{};
    table.addRow({context.size(tree.item(node).sizes.allocatedBytes),
                  known.risk ? std::string(rawValue(*known.risk)) : std::string("–"),
                  known.owner.empty() ? std::string("–") : known.owner, context.displayPath(url)});
  }
  const BrowseTree::Union sum = tree.unionOf(marks);
  std::string text = table.text(context.out());
  text += fmt::format("\nTogether: {}, {}. quarn deletes nothing.\n", context.size(sum.sizes.allocatedBytes),
                      countText(static_cast<std::uint64_t>(sum.files), "file"));
  if (sum.heldElsewhere > 0) {
    text += fmt::format("{} of that stays on the disk until the other names of hard-linked files go too.\n",
                        context.size(sum.heldElsewhere));
  }
  if (fed.isFilling) text += "The scan was not finished, so the sizes may be too small.\n";
  context.print(text);
}

std::string scanNote(const Scan& scan, const CommandContext& context) {
  const ScanFacts& facts = scan.facts();
  const std::string files = facts.keptAbove < 0 ? "all files" : "files larger than " + context.size(facts.keptAbove);
  return fmt::format("a scan of {}, with {}", toISO8601(facts.startedAt).substr(0, 10), files);
}

ExitCode runBrowse(CommandContext& context) {
  requireScreen(context);
  const BrowseSources::Place place = browsedPlace(context);
  const PathListWriter writer(context);
  BrowseTree tree(place.top);
  BrowseFeed feed;
  std::optional<BrowseFeed::State> fed;
  std::vector<BrowseTree::Node> marks;
  const FileURL home = context.isOfAllUsers() ? FileURL("/") : context.home();
  BrowseOutcome outcome = BrowseOutcome::quit;
  {
    BrowseSources sources(tree, feed);
    const std::unique_ptr<BrowseScreen> screen = openTerminalScreen(context.out().hasColors);
    if (const Scan* scan = context.scan()) {
      feed.setNote(scanNote(*scan, context));
      sources.startScan(*scan, place);
    } else {
      sources.startVolume(context.services(), place);
    }
    BrowseSession session(*screen, tree, feed,
                          {.units = context.units(), .home = home, .write = [&](const std::vector<std::string>& paths) {
                             return writer.write(paths);
                           }});
    outcome = session.run();
    marks = session.marks();
    fed = feed.state();
  }
  if (outcome == BrowseOutcome::print) printMarks(tree, marks, *fed, context);
  return context.finish(outcome == BrowseOutcome::interrupted ? ExitCode::interrupted : ExitCode::ok);
}

constexpr FixedText kPlaceHelp =
    FixedText("Folder, a path on the Mac (default: the home folder), or a category: ") + kBrowsedCategories;
constexpr std::array kBrowsePlaces{PositionalRow{.name = "PATH|CATEGORY", .help = kPlaceHelp}};
constexpr std::array kBrowseOptions{
    kScanOption,
    OptionRow{.name = "--output",
              .argument = "FILE",
              .help = "File for marked paths (w), not on the inspected volume",
              .shortName = "-o",
              .isHostPath = true},
    OptionRow{.name = "--null", .help = "End each path in the file with NUL, not a line break"},
};
constexpr std::array kBrowseExamples{
    ExampleRow{.line = "quarn browse", .meaning = "walk through the home folder"},
    ExampleRow{.line = "quarn browse / --output paths.txt", .meaning = "the whole volume; w writes the marked paths"},
    ExampleRow{.line = "quarn browse development", .meaning = "the folders of a storage category"},
};
constexpr CommandRow kBrowseRow{
    .name = "browse",
    .summary = "Walk through folders by size on the whole screen",
    .description =
        "Shows each folder while it is being read, with owner, category and risk of every item. Nothing is deleted.\n\n"
        "Keys: arrows or h j k l move, Enter goes into a folder, Backspace out of it. s sorts, / filters as you type, "
        "a "
        "switches between space and length, i explains an item. The space bar marks; p leaves and prints the marked "
        "items, w writes their paths to the file of --output. q leaves, ? lists the keys.",
    .details =
        "Sorts by size, files, age, owner or name in turn. The explanation says whose an item is, why, and what "
        "removing "
        "it would mean. The last lines show what the marks hold together.\n\n"
        "Files and folders have sizes; links and special files have none and are not listed. A file with several names "
        "counts once in each folder. With --scan, small files are one row per folder: a scan has the largest files "
        "only.",
    .positionals = kBrowsePlaces,
    .options = kBrowseOptions,
    .examples = kBrowseExamples,
    .run = runBrowse,
    .usesScreen = true};

}  // namespace

const CommandRow& browseCommand() { return kBrowseRow; }

}  // namespace quarn
