#include "QuarnBuilders/BomBuilder.h"

#include <algorithm>
#include <array>
#include <tuple>
#include <utility>

#include "QuarnBuilders/BigEndian.h"

namespace quarn::sample {
namespace {

constexpr unsigned kFile = 1;
constexpr unsigned kDirectory = 2;
constexpr unsigned kLink = 3;
constexpr unsigned kDevice = 4;

constexpr std::size_t kHeaderBytes = 512;
constexpr std::size_t kNodeBytes = 4'096;
constexpr std::size_t kInnerNodeBytes = 128;

/// The file under construction. Blocks are numbered from 1.
class BomFile {
 public:
  std::uint32_t add(const std::string& block) {
    places_.emplace_back(content_.size(), block.size());
    content_ += block;
    return number();
  }
  /// The number of the next block.
  [[nodiscard]] std::uint32_t next() const { return number() + 1; }
  void variable(std::string_view name, std::uint32_t block) {
    variables_ += bigEndian(block, 4) + bigEndian(name.size(), 1) + std::string(name);
    ++variableCount_;
  }
  [[nodiscard]] std::string finished(std::uint32_t tableSlots) const;

 private:
  [[nodiscard]] std::uint32_t number() const { return static_cast<std::uint32_t>(places_.size()) - 1; }

  std::string content_ = std::string(kHeaderBytes, '\0');
  std::vector<std::pair<std::size_t, std::size_t>> places_{{0, 0}};
  std::string variables_;
  std::uint32_t variableCount_ = 0;
};

std::string BomFile::finished(std::uint32_t tableSlots) const {
  std::string file = content_;
  const std::size_t variablesOffset = file.size();
  const std::string variables = bigEndian(variableCount_, 4) + variables_;
  file += variables;
  const std::size_t slots = std::max<std::size_t>(tableSlots, places_.size());
  std::string table = bigEndian(slots, 4);
  for (const auto& [offset, length] : places_) table += bigEndian(offset, 4) + bigEndian(length, 4);
  table += std::string(8 * (slots - places_.size()), '\0');
  table += bigEndian(0, 4) + std::string(16, '\0');  // no free blocks, two unused entries
  const std::size_t tableOffset = file.size();
  file += table;
  const std::string header = "BOMStore" + bigEndian(1, 4) + bigEndian(number(), 4) + bigEndian(tableOffset, 4) +
                             bigEndian(table.size(), 4) + bigEndian(variablesOffset, 4) +
                             bigEndian(variables.size(), 4);
  return file.replace(0, header.size(), header);
}

std::string treeBlock(std::uint32_t root, std::size_t nodeBytes, std::size_t entries) {
  return "tree" + bigEndian(1, 4) + bigEndian(root, 4) + bigEndian(nodeBytes, 4) + bigEndian(entries, 4) +
         std::string(1, '\0');
}

struct NodePair {
  std::uint32_t first = 0;
  std::uint32_t second = 0;
};

/// Writes one level of the tree. Returns the pairs of the level above: each node and the key of its last entry.
std::vector<NodePair> writeLevel(BomFile& file, const BomLayout& layout, const std::vector<NodePair>& pairs,
                                 bool isLeaf) {
  std::vector<NodePair> above;
  const std::size_t step = layout.pairsPerNode;
  for (std::size_t start = 0; start < std::max<std::size_t>(pairs.size(), 1); start += step) {
    const std::size_t end = std::min(start + step, pairs.size());
    const bool hasNext = isLeaf && layout.linksLeaves && end < pairs.size();
    const bool hasPrevious = isLeaf && layout.linksLeaves && start > 0;
    std::string node = bigEndian(isLeaf ? 1 : 0, 2) + bigEndian(end - start, 2) +
                       bigEndian(hasNext ? file.next() + 1 : 0, 4) + bigEndian(hasPrevious ? file.next() - 1 : 0, 4);
    for (std::size_t i = start; i < end; ++i) node += bigEndian(pairs[i].first, 4) + bigEndian(pairs[i].second, 4);
    if (layout.padsNodes) node.resize(std::max(node.size(), kNodeBytes), '\0');
    above.push_back({.first = file.add(node), .second = pairs.empty() ? 0 : pairs[end - 1].second});
  }
  return above;
}

std::uint32_t writeTree(BomFile& file, const BomLayout& layout, const std::vector<NodePair>& entries) {
  auto level = writeLevel(file, layout, entries, true);
  while (level.size() > 1) level = writeLevel(file, layout, level, false);
  return file.add(treeBlock(level.front().first, kNodeBytes, entries.size()));
}

std::uint32_t writeEmptyTree(BomFile& file, const BomLayout& layout, std::size_t nodeBytes) {
  std::string leaf = bigEndian(1, 2) + bigEndian(0, 10);
  if (layout.padsNodes) leaf.resize(nodeBytes, '\0');
  return file.add(treeBlock(file.add(leaf), nodeBytes, 0));
}

std::vector<std::string_view> components(std::string_view path) {
  std::vector<std::string_view> names;
  while (!path.empty()) {
    const std::string_view name = path.substr(0, path.find('/'));
    path.remove_prefix(std::min(name.size() + 1, path.size()));
    if (!name.empty() && name != ".") names.push_back(name);
  }
  return names;
}

}  // namespace

BomBuilder::BomBuilder() : BomBuilder(BomLayout{}) {}

BomBuilder::BomBuilder(BomLayout layout) : layout_(layout) { entry(1, 0, ".", directoryRecord()); }

BomBuilder& BomBuilder::directory(std::string_view path) { return add(path, directoryRecord()); }

BomBuilder& BomBuilder::file(std::string_view path, std::uint32_t size) { return add(path, fileRecord(size)); }

BomBuilder& BomBuilder::link(std::string_view path, std::string_view target) {
  return add(path, record(kLink, 0120755, static_cast<std::uint32_t>(target.size()), target));
}

BomBuilder& BomBuilder::device(std::string_view path) { return add(path, record(kDevice, 0020644, 0, {})); }

BomBuilder& BomBuilder::entry(std::uint32_t id, std::uint32_t parentId, std::string name, std::string record) {
  entries_.push_back({.id = id, .parentId = parentId, .name = std::move(name), .record = std::move(record)});
  return *this;
}

std::string BomBuilder::directoryRecord() const { return record(kDirectory, 0040755, 0, {}); }

std::string BomBuilder::fileRecord(std::uint32_t size) const { return record(kFile, 0100644, size, {}); }

/// Records of files and links have a checksum; records of links also have the target and a zero byte. No reader
/// checks the checksum, so it is 0.
std::string BomBuilder::record(unsigned type, std::uint32_t mode, std::uint32_t size, std::string_view target) const {
  const std::string start = bigEndian(type, 1) + bigEndian(1, 1);
  if (layout_.records == BomRecords::pathsOnly) return start + bigEndian(0, 2);
  std::string record = start + bigEndian(0xF, 2) + bigEndian(mode, 2) + bigEndian(0, 4) + bigEndian(80, 4) +
                       bigEndian(1'400'000'000, 4) + bigEndian(size, 4) + bigEndian(1, 1);
  if (type == kFile || type == kLink) record += bigEndian(0, 4);
  if (type == kLink) record += bigEndian(target.size() + 1, 4) + std::string(target) + std::string(1, '\0');
  if (layout_.records == BomRecords::today) record += std::string(8, '\0');
  return record;
}

BomBuilder& BomBuilder::add(std::string_view path, const std::string& record) {
  const auto names = components(path);
  std::uint32_t parentId = 1;
  for (std::size_t i = 0; i < names.size(); ++i) {
    const auto next = static_cast<std::uint32_t>(entries_.size()) + 1;
    const auto [known, isNew] = ids_.try_emplace({parentId, std::string(names[i])}, next);
    if (isNew) entry(next, parentId, known->first.second, i + 1 < names.size() ? directoryRecord() : record);
    parentId = known->second;
  }
  return *this;
}

std::string BomBuilder::bytes() const {
  auto sorted = entries_;
  std::stable_sort(sorted.begin(), sorted.end(), [](const Entry& left, const Entry& right) {
    return std::tie(left.parentId, left.name) < std::tie(right.parentId, right.name);
  });
  BomFile file;
  const std::uint32_t info = file.add(bigEndian(1, 4) + bigEndian(sorted.size() + 1, 4) + bigEndian(0, 4));
  std::vector<NodePair> pairs;
  for (const auto& entry : sorted) {
    const std::uint32_t record = entry.record.empty() ? 0 : file.add(entry.record);
    const std::uint32_t link = file.add(bigEndian(entry.id, 4) + bigEndian(record, 4));
    const std::uint32_t key = file.add(bigEndian(entry.parentId, 4) + entry.name + std::string(1, '\0'));
    pairs.push_back({.first = link, .second = key});
  }
  file.variable("BomInfo", info);
  file.variable("Paths", writeTree(file, layout_, pairs));
  file.variable("HLIndex", writeEmptyTree(file, layout_, kNodeBytes));
  const std::uint32_t inner = writeEmptyTree(file, layout_, kInnerNodeBytes);
  file.variable("VIndex", file.add(bigEndian(1, 4) + bigEndian(inner, 4) + bigEndian(0, 5)));
  file.variable("Size64", writeEmptyTree(file, layout_, kNodeBytes));
  return file.finished(layout_.tableSlots);
}

}  // namespace quarn::sample
