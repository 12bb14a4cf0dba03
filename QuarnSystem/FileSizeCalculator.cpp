#include "QuarnSystem/FileSizeCalculator.h"

#include <cerrno>
#include <string>
#include <string_view>
#include <utility>

#include "QuarnPlatform/paths/PathTrie.h"
#include "QuarnPlatform/paths/PrivatePrefix.h"
#include "QuarnPlatform/walking/TreeSizer.h"

namespace quarn {
namespace {

struct Excluded {};
using Exclusions = PathTrie<Excluded>;

// A walk from a folder above a prefix that standardising removes meets an excluded item under its longer path, so that
// path is excluded too.
Exclusions compiled(const FileManager& files, std::string_view root, const std::vector<FileURL>& excluding) {
  Exclusions exclusions;
  const bool mayMeetPrefix = path::mayHoldPrivatePrefix(root);
  for (const FileURL& url : excluding) {
    const std::string path = files.standardizedPath(url);
    if (path == "/" && root != "/") continue;  // compared as text, no path continues "/" with another "/"
    exclusions.insert(path, {});
    if (!mayMeetPrefix) continue;
    for (const std::string& longer : path::withPrivatePrefixes(path)) {
      if (files.standardizedPath(longer) == path) exclusions.insert(longer, {});
    }
  }
  return exclusions;
}

// Skips the excluded items and everything below them, with one step in the trie per item.
class WithoutExcluded final : public Attribution {
 public:
  explicit WithoutExcluded(const Exclusions& exclusions) : exclusions_(exclusions) {}

  std::optional<Step> folder(const Step& parent, std::string_view name, bool) const override {
    const Exclusions::Node node = exclusions_.step(parent.node, name);
    return exclusions_.value(node) == nullptr ? std::optional<Step>({.node = node}) : std::nullopt;
  }
  std::optional<std::uint8_t> file(const Step& parent, std::string_view name) const override {
    const bool isExcluded = exclusions_.value(exclusions_.step(parent.node, name)) != nullptr;
    return isExcluded ? std::nullopt : std::optional<std::uint8_t>(0);
  }
  std::optional<std::uint8_t> everyFile(const Step& parent) const override {
    return exclusions_.hasChildren(parent.node) ? std::nullopt : std::optional<std::uint8_t>(0);
  }

 private:
  const Exclusions& exclusions_;
};

/// What all walks of one calculator share.
struct Walks {
  FileManager files;
  FileSizeCalculator::Growth growth;
};

TreeSizer::Options walkOptions(const Walks& walks, bool includeHidden, const Cancellation& cancellation) {
  TreeSizer::Options options{.hidden = includeHidden ? HiddenItems::include : HiddenItems::skip,
                             .cancellation = cancellation};
  if (walks.growth) options.onProgress = [&](const TreeSizer::Totals& totals) { walks.growth(totals[0]); };
  return options;
}

SizeInfo treeSize(const FileManager& files, const FileURL& root, const Exclusions& exclusions,
                  Exclusions::Node rootNode, const TreeSizer::Options& options) {
  const bool nothingBelowIsExcluded = rootNode == Exclusions::kNone;
  if (nothingBelowIsExcluded) return TreeSizer::total(files, root, options);
  return TreeSizer::totals(files, root, WithoutExcluded(exclusions), {.node = rootNode}, options)[0];
}

SizeInfo itemSize(const Walks& walks, const FileURL& at, const std::vector<FileURL>& excluding, bool allowSlow,
                  bool includeHidden, const Cancellation& cancellation) {
  const FileManager& files = walks.files;
  const ItemFacts facts = files.requireFacts(at, Links::doNotFollow);
  if (facts.type != FileType::regular && facts.type != FileType::directory) return {};
  const std::string root = files.standardizedPath(at);
  const Exclusions exclusions = compiled(files, root, excluding);
  if (exclusions.longestMatch(root) != nullptr) return {};
  if (facts.type == FileType::regular) return facts.sizes;
  if (!allowSlow) throwFileError(ENOTSUP, "size", at.path());
  return treeSize(files, at, exclusions, exclusions.find(root), walkOptions(walks, includeHidden, cancellation));
}

std::optional<SizeInfo> resourceSize(const FileManager& files, const FileURL& at) {
  const std::optional<ItemFacts> facts = files.facts(at, Links::doNotFollow);
  if (!facts || facts->type != FileType::regular) return std::nullopt;
  return facts->sizes;
}

}  // namespace

FileSizeCalculator FileSizeCalculator::live(FileManager files) { return growing(std::move(files), nullptr); }

FileSizeCalculator FileSizeCalculator::growing(FileManager files, Growth growth) {
  const Walks walks{std::move(files), std::move(growth)};
  return {.itemSizeExcluding =
              [walks](const FileURL& at, const std::vector<FileURL>& excluding, bool allowSlow, bool includeHidden,
                      const Cancellation& cancellation) {
                return quarn::itemSize(walks, at, excluding, allowSlow, includeHidden, cancellation);
              },
          .enumeratingDirectorySize =
              [walks](const FileURL& at, bool includeHidden, const Cancellation& cancellation) {
                return quarn::itemSize(walks, at, {}, /*allowSlow=*/true, includeHidden, cancellation);
              },
          .resourceSize = [walks](const FileURL& at) { return quarn::resourceSize(walks.files, at); }};
}

}  // namespace quarn
