#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/commands/BranchFacts.h"
#include "quarn/commands/Commands.h"
#include "quarn/commands/Filters.h"
#include "quarn/commands/FolderTree.h"
#include "quarn/commands/ListOutput.h"
#include "quarn/commands/PathArgument.h"
#include "quarn/commands/ScanOption.h"
#include "quarn/report/Share.h"
#include "quarn/terminal/CountText.h"
#include "quarn/terminal/Table.h"
#include "quarn/wire/RecordJSON.h"

namespace quarn {
namespace {

constexpr long kUsualDepth = 3;
constexpr long kUsualBranches = 8;
constexpr std::size_t kTreeBarWidth = 10;

/// A branch that is shown, and what of it is not.
struct Branch {
  TreeEntry entry{};
  FileURL url{};
  std::string owner{};
  std::optional<StorageCategoryID> category{};
  std::vector<Branch> branches{};
  SizeInfo rest{};             ///< in no shown branch
  std::int64_t restFiles = 0;  ///< in no shown branch
};

/// Chooses the branches to show.
class Pruner {
 public:
  Pruner(CommandContext& context, const FolderTree& tree, const ListFilters& filters)
      : tree_(tree),
        filters_(filters),
        facts_(context, !context.arguments().has("--no-owners")),
        depth_(context.arguments().number("--depth", kUsualDepth)),
        most_(context.arguments().number("--top", kUsualBranches)) {}

  [[nodiscard]] Branch branch(TreeEntry entry, const FileURL& url, long level = 0) const {
    Branch result{.url = url, .owner = facts_.owner(url), .category = facts_.category(url), .rest = entry.size};
    result.restFiles = entry.files;
    result.entry = std::move(entry);
    // A package is one item; only as the root it shows what is in it.
    const bool isClosed = !result.entry.isFolder || (result.entry.isPackage && level > 0);
    if (isClosed || level >= depth_) return result;
    for (TreeEntry& child : largest(result.entry, url)) {
      const FileURL place(url.appending(child.name).path(), child.isFolder ? URLKind::directory : URLKind::item);
      result.branches.push_back(branch(std::move(child), place, level + 1));
      const TreeEntry& shown = result.branches.back().entry;
      // A file in two branches counts in both, and once in this folder.
      result.rest.allocatedBytes = std::max<std::int64_t>(result.rest.allocatedBytes - shown.size.allocatedBytes, 0);
      result.rest.logicalBytes = std::max<std::int64_t>(result.rest.logicalBytes - shown.size.logicalBytes, 0);
      result.restFiles -= shown.files;
    }
    return result;
  }

 private:
  [[nodiscard]] std::vector<TreeEntry> largest(const TreeEntry& folder, const FileURL& url) const {
    std::vector<TreeEntry> entries = tree_.entriesIn(folder);
    std::erase_if(entries, [&](const TreeEntry& entry) {
      const bool isEmpty = entry.size == SizeInfo{};
      return isEmpty || !filters_.accepts({.name = entry.name,
                                           .bytes = entry.size.allocatedBytes,
                                           .urls = {url.appending(entry.name)},
                                           .modified = entry.modified});
    });
    std::sort(entries.begin(), entries.end(), [](const TreeEntry& left, const TreeEntry& right) {
      if (left.size.allocatedBytes != right.size.allocatedBytes)
        return left.size.allocatedBytes > right.size.allocatedBytes;
      return left.name < right.name;
    });
    if (static_cast<long>(entries.size()) > most_) entries.resize(static_cast<std::size_t>(most_));
    return entries;
  }

  const FolderTree& tree_;
  const ListFilters& filters_;
  BranchFacts facts_;
  long depth_;
  long most_;
};

nlohmann::ordered_json memberOf(const std::string& text) {
  return text.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(toJSON(text));
}

nlohmann::ordered_json branchJSON(const Branch& branch) {
  return {
      {"url", toJSON(branch.url)},
      {"size", toJSON(branch.entry.size)},
      {"files", branch.entry.files},
      {"isFolder", branch.entry.isFolder},
      {"modified", memberOf(branch.entry.modified ? toISO8601(*branch.entry.modified) : "")},
      {"owner", memberOf(branch.owner)},
      {"category", branch.category ? nlohmann::ordered_json(rawValue(*branch.category)) : nlohmann::ordered_json()}};
}

nlohmann::ordered_json treeJSON(const Branch& branch) {
  nlohmann::ordered_json json = branchJSON(branch);
  json["branches"] = nlohmann::ordered_json::array();
  for (const Branch& child : branch.branches) json["branches"].push_back(treeJSON(child));
  json["rest"] = {{"size", toJSON(branch.rest)}, {"files", branch.restFiles}};
  return json;
}

void printBranchLines(const Branch& branch, std::int64_t depth, CommandContext& context) {
  nlohmann::ordered_json line = branchJSON(branch);
  line["depth"] = depth;
  context.printLines(nlohmann::ordered_json::array({std::move(line)}));
  for (const Branch& child : branch.branches) printBranchLines(child, depth + 1, context);
}

/// The table: one row per branch, drawn below the folder that holds it.
class TreeTable {
 public:
  TreeTable(CommandContext& context, std::int64_t whole) : context_(context), whole_(whole) {}

  void addRoot(const Branch& root) {
    addRow(context_.displayPath(root.url), root);
    addBranches(root, "");
  }
  [[nodiscard]] const Table& table() const { return table_; }

 private:
  void addBranches(const Branch& folder, const std::string& indent) {
    const bool hasRest = !folder.branches.empty() && folder.rest.allocatedBytes > 0;
    for (std::size_t i = 0; i < folder.branches.size(); ++i) {
      const bool isLast = i + 1 == folder.branches.size() && !hasRest;
      addRow(indent + (isLast ? "└ " : "├ ") + folder.branches[i].entry.name, folder.branches[i]);
      addBranches(folder.branches[i], indent + (isLast ? "  " : "│ "));
    }
    if (!hasRest) return;
    const std::string files =
        countText(static_cast<std::uint64_t>(std::max<std::int64_t>(folder.restFiles, 0)), "file");
    table_.addRow({{context_.size(folder.rest.allocatedBytes), Style::dim},
                   {shareOf(folder.rest.allocatedBytes, whole_), Style::dim},
                   {indent + "└ the rest, " + files, Style::dim}});
  }

  void addRow(const std::string& text, const Branch& branch) {
    const std::int64_t bytes = branch.entry.size.allocatedBytes;
    table_.addRow({context_.size(bytes), shareOf(bytes, whole_),
                   text + (branch.entry.isFolder && !text.ends_with('/') ? "/" : ""), branch.owner,
                   branch.category ? std::string(rawValue(*branch.category)) : ""});
  }

  CommandContext& context_;
  std::int64_t whole_;
  Table table_{{{.title = "ON DISK", .align = Table::Align::right},
                {.title = "", .barWidth = kTreeBarWidth},
                {.title = "BRANCH", .isFlexible = true},
                {.title = "OWNER", .isFlexible = true},
                {.title = "CATEGORY"}}};
};

FolderTree treeOf(CommandContext& context) {
  const std::vector<std::string>& words = context.arguments().positionals;
  if (const Scan* scan = context.scan()) {
    return scannedTree(words.empty() ? scannedHomeOfAll(*scan) : scannedFolder(words.front(), *scan), *scan);
  }
  return walkedTree(words.empty() ? context.services().files.homeDirectory() : folderArgument(words.front(), context),
                    context);
}

void showTree(const FolderTree& tree, const Branch& root, CommandContext& context) {
  TreeTable table(context, root.entry.size.allocatedBytes);
  table.addRoot(root);
  showTable(context, table.table());
  if (tree.linkedFiles > 0) {
    context.print(fmt::format("\n{} found under several names (hard links) and counted once in each folder.\n",
                              countText(static_cast<std::uint64_t>(tree.linkedFiles), "file")));
  }
  if (!tree.isExact) context.print("\nThe sums are not exact: too many files have several names.\n");
}

ExitCode runTree(CommandContext& context) {
  const ListFilters filters(context);
  const FolderTree tree = treeOf(context);
  const Branch root = Pruner(context, tree, filters).branch(tree.root, tree.url);
  if (context.wantsJSON()) {
    nlohmann::ordered_json json{{"tree", treeJSON(root)}, {"linkedFiles", tree.linkedFiles}, {"isExact", tree.isExact}};
    if (context.isInterrupted()) json["isComplete"] = false;
    context.printDocument(std::move(json));
  } else if (context.wantsLines()) {
    printBranchLines(root, 0, context);
  } else {
    showTree(tree, root, context);
  }
  return context.finish();
}

constexpr std::array kTreePositionals{
    PositionalRow{.name = "PATH", .help = "Folder, a path on the Mac (default the home folder)"}};
constexpr std::array kTreeOptions =
    std::array{
        kScanOption,
        OptionRow{.name = "--depth", .argument = "N", .help = "Show at most N levels (default 3)", .isNumber = true},
        OptionRow{.name = "--top",
                  .argument = "N",
                  .help = "Show the N largest branches of each folder (default 8)",
                  .isNumber = true},
        OptionRow{.name = "--no-owners",
                  .help = "Do not look for owners, and for games by their files: both read app data"},
    } +
    kFilters<Filter::minSize, Filter::olderThan, Filter::newerThan, Filter::exclude>;
constexpr std::array kTreeExamples{
    ExampleRow{.line = "quarn tree", .meaning = "the largest branches of the home folder"},
    ExampleRow{.line = "quarn tree / --depth 2 --min-size 1GB", .meaning = "the large folders of the volume"},
    ExampleRow{.line = "quarn tree ~/Library --top 3 --no-owners", .meaning = "three branches of each folder"},
};
constexpr CommandRow kTreeRow{
    .name = "tree",
    .summary = "Show the largest branches of a folder",
    .description =
        "One walk sizes every folder. Beside each branch are its share, its owner and its storage category. A package, "
        "such as an app, is one branch. Hidden items count.",
    .positionals = kTreePositionals,
    .options = kTreeOptions,
    .examples = kTreeExamples,
    .run = runTree,
    .hasList = true};

}  // namespace

const CommandRow& treeCommand() { return kTreeRow; }

}  // namespace quarn
