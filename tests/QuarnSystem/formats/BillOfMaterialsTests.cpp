#include <random>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnBuilders/BigEndian.h"
#include "QuarnBuilders/BomBuilder.h"
#include "QuarnPlatform/base/Limits.h"
#include "QuarnSystem/formats/BillOfMaterials.h"

namespace quarn::bill_of_materials_tests {
namespace {

using sample::bigEndian;
using sample::BomBuilder;
using sample::BomLayout;
using sample::BomRecords;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAreArray;

using Bill = std::vector<BillEntry>;

Bill read(const std::string& bytes) {
  const auto entries = readBillOfMaterials(bytes);
  EXPECT_TRUE(entries) << "the bill was refused";
  return entries.value_or(Bill{});
}

std::vector<std::string> pathsOf(const std::string& bytes) {
  std::vector<std::string> paths;
  for (const auto& entry : read(bytes)) paths.push_back(entry.path);
  return paths;
}

BillEntry directory(std::string path) { return {.path = std::move(path), .type = BillEntryType::directory}; }
BillEntry file(std::string path) { return {.path = std::move(path), .type = BillEntryType::file}; }

BomBuilder smallBill(BomLayout layout = {}) {
  BomBuilder bill(layout);
  bill.file("./Applications/X.app/Contents/Info.plist", 300);
  bill.link("./usr/local/bin/x", "/Applications/X.app/Contents/MacOS/X");
  bill.device("./dev/x").directory("./Library/X");
  return bill;
}

const Bill& smallBillEntries() {
  static const Bill entries{
      directory("Applications"),
      directory("Library"),
      directory("dev"),
      directory("usr"),
      directory("Applications/X.app"),
      directory("Applications/X.app/Contents"),
      file("Applications/X.app/Contents/Info.plist"),
      directory("usr/local"),
      directory("usr/local/bin"),
      {.path = "usr/local/bin/x", .type = BillEntryType::link},
      {.path = "dev/x", .type = BillEntryType::device},
      directory("Library/X"),
  };
  return entries;
}

struct LayoutCase {
  const char* name;
  BomLayout layout;
};

class BillLayouts : public testing::TestWithParam<LayoutCase> {};

INSTANTIATE_TEST_SUITE_P(
    EveryLayout, BillLayouts,
    testing::Values(LayoutCase{"OneLeaf", {}}, LayoutCase{"UnusedSlots", {.tableSlots = 2'730}},
                    LayoutCase{"UnpaddedNodes", {.padsNodes = false}}, LayoutCase{"TwoLeaves", {.pairsPerNode = 7}},
                    LayoutCase{"TwoLeavesWithoutLinks", {.pairsPerNode = 7, .linksLeaves = false}},
                    LayoutCase{"ThreeLevels", {.pairsPerNode = 3}},
                    LayoutCase{"ThreeLevelsWithoutLinks", {.pairsPerNode = 3, .linksLeaves = false}},
                    LayoutCase{"FourLevels", {.pairsPerNode = 2, .padsNodes = false}},
                    LayoutCase{"FourLevelsWithoutLinks", {.pairsPerNode = 2, .linksLeaves = false, .padsNodes = false}},
                    LayoutCase{"OlderRecords", {.records = BomRecords::older}},
                    LayoutCase{"PathsOnly", {.records = BomRecords::pathsOnly}}),
    [](const auto& layout) { return layout.param.name; });

TEST_P(BillLayouts, ListEachItemOnceWithItsPathAndType) {
  EXPECT_THAT(read(smallBill(GetParam().layout).bytes()), UnorderedElementsAreArray(smallBillEntries()));
}

TEST_P(BillLayouts, TruncatedAnywhereAreRefused) {
  const std::string whole = smallBill(GetParam().layout).bytes();
  for (std::size_t length = 0; length + 20 < whole.size(); ++length) {
    EXPECT_EQ(readBillOfMaterials(std::string_view(whole).substr(0, length)), std::nullopt) << length;
  }
}

TEST(BillOfMaterials, ListsItsItemsInItsOwnOrder) {
  EXPECT_THAT(pathsOf(BomBuilder().file("b/2").file("b/1").file("a").bytes()), ElementsAre("a", "b", "b/1", "b/2"));
}

TEST(BillOfMaterials, WithOnlyTheRootFolderIsEmpty) { EXPECT_THAT(read(BomBuilder().bytes()), IsEmpty()); }

TEST(BillOfMaterials, RandomTreesSurviveEveryLayout) {
  std::mt19937 random(2001);  // NOLINT(cert-msc51-cpp): the same trees each time
  for (int round = 0; round < 30; ++round) {
    BomLayout layout{
        .pairsPerNode = 2 + random() % 300, .linksLeaves = random() % 2 == 0, .padsNodes = random() % 2 == 0};
    layout.tableSlots = static_cast<std::uint32_t>(random() % 5'000);
    BomBuilder bill(layout);
    std::set<std::string> folders{""};
    std::set<std::string> files;
    for (int i = 0; i < 400; ++i) {
      const std::string parent = *std::next(folders.begin(), static_cast<int>(random() % folders.size()));
      const std::string path = parent + (parent.empty() ? "" : "/") + "item " + std::to_string(i);
      const bool isFolder = random() % 3 == 0;
      isFolder ? bill.directory(path) : bill.file(path);
      (isFolder ? folders : files).insert(path);
    }
    std::set<std::string> readFolders{""};
    std::set<std::string> readFiles;
    const auto entries = read(bill.bytes());
    for (const auto& entry : entries) (entry.type == BillEntryType::file ? readFiles : readFolders).insert(entry.path);
    EXPECT_EQ(entries.size(), 400U);
    EXPECT_EQ(readFolders, folders) << "round " << round;
    EXPECT_EQ(readFiles, files) << "round " << round;
  }
}

TEST(BillOfMaterials, NamesAreTheBytesOfTheBill) {
  EXPECT_THAT(pathsOf(BomBuilder().file("caf\x65\xCC\x81/\xFF\n\x1B[31m").bytes()),
              ElementsAre("caf\x65\xCC\x81", "caf\x65\xCC\x81/\xFF\n\x1B[31m"));
}

TEST(BillOfMaterials, RecordsOfEveryKnownLengthHaveAType) {
  const std::string start = bigEndian(1, 1) + bigEndian(1, 1) + bigEndian(0xF, 2) + bigEndian(0100644, 2) +
                            bigEndian(0, 16) + bigEndian(1, 1);
  ASSERT_EQ(start.size(), 23U);
  const std::string sum = bigEndian(0, 4);
  const std::string program = bigEndian(1, 1) + bigEndian(1, 4) + bigEndian(7, 16);
  BomBuilder bill;
  bill.entry(2, 1, "checksum", start + sum).entry(3, 1, "padded", start + sum + bigEndian(0, 8));
  bill.entry(4, 1, "double", start + bigEndian(0, 8)).entry(5, 1, "link length", start + sum + bigEndian(0, 4));
  bill.entry(6, 1, "program", start + sum + program + bigEndian(0, 8));
  bill.entry(7, 1, "bare", start).entry(8, 1, "four", start.substr(0, 4));
  const auto entries = read(bill.bytes());
  EXPECT_EQ(entries.size(), 7U);
  for (const auto& entry : entries) EXPECT_EQ(entry.type, BillEntryType::file) << entry.path;
}

TEST(BillOfMaterials, TheTypeDecidesAndNotTheMode) {
  std::string record = BomBuilder().fileRecord();
  record.replace(4, 2, bigEndian(0040755, 2));
  EXPECT_THAT(read(BomBuilder().entry(2, 1, "a", record).bytes()), ElementsAre(file("a")));
}

TEST(BillOfMaterials, ARecordWithoutATypeIsADirectoryIfItHasChildren) {
  for (const char type : {'\0', '\5', '\xFF'}) {
    const std::string record(4, type);
    EXPECT_THAT(read(BomBuilder().entry(2, 1, "a", record).entry(3, 2, "b", record).bytes()),
                ElementsAre(directory("a"), file("a/b")));
  }
}

TEST(BillOfMaterials, AnEntryWithATruncatedRecordIsDropped) {
  BomBuilder bill;
  bill.entry(2, 1, "short", "\1\1").entry(3, 1, "none", "").entry(4, 1, "sound", BomBuilder().fileRecord());
  EXPECT_THAT(pathsOf(bill.bytes()), ElementsAre("sound"));
}

TEST(BillOfMaterials, InvalidNamesAreDroppedWithAllBelowThem) {
  const std::string record = BomBuilder().fileRecord();
  for (const auto* name : {"", ".", "..", "a/b", "/", "/etc", "../../etc"}) {
    BomBuilder bill;
    bill.entry(2, 1, name, record)
        .entry(3, 2, "below", record)
        .entry(4, 3, "deeper", record)
        .entry(5, 1, "sound", record);
    EXPECT_THAT(pathsOf(bill.bytes()), ElementsAre("sound")) << name;
  }
}

TEST(BillOfMaterials, ANameEndsAtItsZeroByte) {
  const std::string name("a\0b", 3);
  EXPECT_THAT(pathsOf(BomBuilder().entry(2, 1, name, BomBuilder().fileRecord()).bytes()), ElementsAre("a"));
}

TEST(BillOfMaterials, EntriesWithoutAParentAreAtTheTop) {
  EXPECT_THAT(pathsOf(BomBuilder().entry(2, 0, "a", BomBuilder().fileRecord()).bytes()), ElementsAre("a"));
}

TEST(BillOfMaterials, AParentMayFollowItsChildren) {
  const std::string record = BomBuilder().directoryRecord();
  EXPECT_THAT(
      pathsOf(BomBuilder().entry(2, 9, "b", record).entry(9, 70, "a", record).entry(70, 1, "top", record).bytes()),
      ElementsAre("top", "top/a/b", "top/a"));
}

TEST(BillOfMaterials, EntriesWithAMissingParentAreDroppedWithAllBelowThem) {
  const std::string record = BomBuilder().directoryRecord();
  EXPECT_THAT(pathsOf(BomBuilder().entry(2, 99, "a", record).entry(3, 2, "b", record).entry(4, 1, "c", record).bytes()),
              ElementsAre("c"));
}

TEST(BillOfMaterials, EntriesThatAreTheirOwnAncestorsAreDropped) {
  const std::string record = BomBuilder().directoryRecord();
  BomBuilder bill;
  bill.entry(2, 2, "self", record).entry(3, 2, "below self", record);
  bill.entry(4, 6, "a", record).entry(5, 4, "b", record).entry(6, 5, "c", record).entry(7, 6, "below", record);
  bill.entry(8, 1, "sound", record);
  EXPECT_THAT(pathsOf(bill.bytes()), ElementsAre("sound"));
}

TEST(BillOfMaterials, OfEntriesWithOneNumberTheFirstCounts) {
  const std::string record = BomBuilder().directoryRecord();
  EXPECT_THAT(pathsOf(BomBuilder().entry(2, 1, "a", record).entry(2, 1, "b", record).entry(3, 2, "c", record).bytes()),
              ElementsAre("a", "a/c"));
}

TEST(BillOfMaterials, OfAThousandEntriesWithOneNumberTheFirstCounts) {
  BomBuilder bill;
  for (int i = 0; i < 1'000; ++i) bill.entry(2, 1, std::to_string(1'000 + i), bill.directoryRecord());
  EXPECT_THAT(pathsOf(bill.bytes()), ElementsAre("1000"));
}

TEST(BillOfMaterials, ItemsDeeperThanTheLimitAreDropped) {
  BomBuilder bill;
  for (std::uint32_t id = 2; id < 10'002; ++id) bill.entry(id, id - 1, "x", bill.directoryRecord());
  const auto paths = pathsOf(bill.bytes());
  ASSERT_EQ(paths.size(), kMaxBillDepth);
  EXPECT_EQ(paths.back().size(), 2 * kMaxBillDepth - 1);
}

TEST(BillOfMaterials, ABillWithTooManyPathBytesIsRefused) {
  const auto bill = [](std::uint32_t entries) {
    BomBuilder builder;
    builder.entry(2, 1, std::string(limits::kRecordPathBytes - 2, 'n'), builder.directoryRecord());
    for (std::uint32_t id = 3; id < 3 + entries; ++id) builder.entry(id, 2, "x", builder.fileRecord());
    return builder.bytes();
  };
  constexpr auto kMostEntries = static_cast<std::uint32_t>(kMaxBillPathBytes / limits::kRecordPathBytes);
  EXPECT_EQ(read(bill(kMostEntries - 1)).size(), kMostEntries);
  EXPECT_EQ(readBillOfMaterials(bill(kMostEntries + 1)), std::nullopt);
}

TEST(BillOfMaterials, APathBeyondTheLimitIsLeftOutWithAllBelowIt) {
  BomBuilder bill;
  bill.entry(2, 1, std::string(limits::kRecordPathBytes - 1, 'n'), bill.directoryRecord());
  bill.entry(3, 2, "", bill.fileRecord()).entry(4, 2, "x", bill.directoryRecord()).entry(5, 4, "y", bill.fileRecord());
  bill.entry(6, 1, std::string(limits::kRecordPathBytes + 1, 'm'), bill.fileRecord());
  bill.entry(7, 1, std::string(limits::kRecordPathBytes, 'l'), bill.fileRecord());
  const auto paths = pathsOf(bill.bytes());
  ASSERT_EQ(paths.size(), 2U);
  EXPECT_EQ(paths[0], std::string(limits::kRecordPathBytes, 'l'));
  EXPECT_EQ(paths[1], std::string(limits::kRecordPathBytes - 1, 'n'));
}

/// A bill of raw blocks, numbered from 1; valid except for the fields that a test sets.
struct RawBill {
  std::vector<std::string> blocks;
  std::string variables = bigEndian(1, 4) + bigEndian(1, 4) + "\x05Paths";
  std::vector<std::pair<std::uint64_t, std::uint64_t>> extraPlaces{};  ///< of blocks numbered after these
  std::string magic = "BOMStore";
  std::uint32_t version = 1;
  std::uint32_t slots = 0;  ///< what the table says; 0: as many as there are

  [[nodiscard]] std::string bytes() const {
    std::string content(512, '\0');
    std::string table = bigEndian(0, 8);
    for (const auto& block : blocks) {
      table += bigEndian(content.size(), 4) + bigEndian(block.size(), 4);
      content += block;
    }
    for (const auto& [address, length] : extraPlaces) table += bigEndian(address, 4) + bigEndian(length, 4);
    const std::size_t variablesOffset = content.size();
    content += variables;
    const std::size_t tableOffset = content.size();
    content += bigEndian(slots != 0 ? slots : table.size() / 8, 4) + table;
    const std::string header = magic + bigEndian(version, 4) + bigEndian(blocks.size(), 4) + bigEndian(tableOffset, 4) +
                               bigEndian(4 + table.size(), 4) + bigEndian(variablesOffset, 4) +
                               bigEndian(variables.size(), 4);
    return content.replace(0, header.size(), header);
  }
};

std::string tree(std::uint32_t root, std::uint32_t entries) {
  return "tree" + bigEndian(1, 4) + bigEndian(root, 4) + bigEndian(4'096, 4) + bigEndian(entries, 4) + bigEndian(0, 1);
}

std::string node(bool isLeaf, std::uint32_t next, const std::vector<std::pair<std::uint32_t, std::uint32_t>>& pairs) {
  std::string bytes = bigEndian(isLeaf ? 1 : 0, 2) + bigEndian(pairs.size(), 2) + bigEndian(next, 4) + bigEndian(0, 4);
  for (const auto& [first, second] : pairs) bytes += bigEndian(first, 4) + bigEndian(second, 4);
  return bytes;
}

std::string info(std::uint32_t id, std::uint32_t record) { return bigEndian(id, 4) + bigEndian(record, 4); }
std::string key(std::uint32_t parent, const std::string& name) { return bigEndian(parent, 4) + name + bigEndian(0, 1); }

/// Blocks 1 to 6: the tree, its only leaf, a record, the two blocks of the entry "a", and a key without an entry.
RawBill soundRawBill() {
  return {
      .blocks = {tree(2, 1), node(true, 0, {{4, 5}}), BomBuilder().fileRecord(), info(7, 3), key(0, "a"), key(0, "b")}};
}

TEST(BillOfMaterialsDamage, TheRawBillOfTheseTestsIsSound) {
  EXPECT_THAT(pathsOf(soundRawBill().bytes()), ElementsAre("a"));
}

TEST(BillOfMaterialsDamage, OtherFilesAreRefused) {
  EXPECT_EQ(readBillOfMaterials(""), std::nullopt);
  EXPECT_EQ(readBillOfMaterials("BOMStore"), std::nullopt);
  EXPECT_EQ(readBillOfMaterials(std::string(4'096, '\0')), std::nullopt);
  auto bill = soundRawBill();
  bill.magic = "BOMstore";
  EXPECT_EQ(readBillOfMaterials(bill.bytes()), std::nullopt);
  bill = soundRawBill();
  bill.version = 2;
  EXPECT_EQ(readBillOfMaterials(bill.bytes()), std::nullopt);
}

TEST(BillOfMaterialsDamage, ATableLargerThanTheFileIsRefused) {
  auto bill = soundRawBill();
  for (const std::uint32_t slots : {8U, 1'000'000U, 0x20000000U, 0xFFFFFFFFU}) {
    bill.slots = slots;
    EXPECT_EQ(readBillOfMaterials(bill.bytes()), std::nullopt) << slots;
  }
}

TEST(BillOfMaterialsDamage, HeaderFieldsThatPointOutsideTheFileAreRefused) {
  const std::string sound = soundRawBill().bytes();
  for (const std::size_t field : {16U, 24U, 28U}) {
    for (const std::uint32_t value : {static_cast<std::uint32_t>(sound.size()), 0x7FFFFFFFU, 0xFFFFFFFFU}) {
      std::string damaged = sound;
      damaged.replace(field, 4, bigEndian(value, 4));
      EXPECT_EQ(readBillOfMaterials(damaged), std::nullopt) << field << ": " << value;
    }
  }
}

TEST(BillOfMaterialsDamage, WithoutAReadablePathsVariableABillIsRefused) {
  const auto bill = [](const std::string& variables) {
    auto raw = soundRawBill();
    raw.variables = variables;
    return readBillOfMaterials(raw.bytes());
  };
  const std::string other = bigEndian(6, 4) + "\007BomInfo";
  EXPECT_TRUE(bill(bigEndian(2, 4) + other + bigEndian(1, 4) + "\x05Paths"));
  EXPECT_FALSE(bill(bigEndian(0, 4)));
  EXPECT_FALSE(bill(bigEndian(1, 4) + other + bigEndian(1, 4) + "\x05Paths")) << "beyond the count";
  EXPECT_FALSE(bill(bigEndian(0xFFFFFFFF, 4) + other)) << "none of that name";
  EXPECT_FALSE(bill(bigEndian(1, 4) + bigEndian(1, 4) + "\005paths"));
  EXPECT_FALSE(bill(bigEndian(1, 4) + bigEndian(1, 4) + "\x06Paths")) << "a name beyond the variables";
  EXPECT_FALSE(bill(bigEndian(1, 4) + bigEndian(1, 4) + "\xFFPaths"));
  EXPECT_FALSE(bill("")) << "no count";
  for (const std::uint32_t block : {0U, 2U, 7U, 0xFFFFFFFFU}) {
    EXPECT_FALSE(bill(bigEndian(1, 4) + bigEndian(block, 4) + "\x05Paths")) << "block " << block;
  }
}

TEST(BillOfMaterialsDamage, OnlySixtyFourVariablesAreRead) {
  const auto bill = [](std::uint32_t others) {
    auto raw = soundRawBill();
    raw.variables = bigEndian(others + 1, 4);
    for (std::uint32_t i = 0; i < others; ++i) raw.variables += bigEndian(6, 4) + bigEndian(0, 1);
    raw.variables += bigEndian(1, 4) + "\x05Paths";
    return readBillOfMaterials(raw.bytes());
  };
  EXPECT_TRUE(bill(63));
  EXPECT_FALSE(bill(64));
}

TEST(BillOfMaterialsDamage, AnInvalidTreeIsRefused) {
  const auto bill = [](const std::string& block) {
    auto raw = soundRawBill();
    raw.blocks[0] = block;
    return readBillOfMaterials(raw.bytes());
  };
  EXPECT_TRUE(bill(tree(2, 1).substr(0, 20)));
  EXPECT_FALSE(bill(tree(2, 1).substr(0, 19)));
  EXPECT_FALSE(bill(""));
  EXPECT_FALSE(bill("Tree" + tree(2, 1).substr(4)));
  for (const std::uint32_t root : {0U, 7U, 0xFFFFFFFFU}) EXPECT_FALSE(bill(tree(root, 1))) << root;
}

TEST(BillOfMaterialsDamage, ATopNodeThatClaimsMorePairsThanItHoldsIsRefused) {
  auto bill = soundRawBill();
  bill.blocks[1].replace(2, 2, bigEndian(2, 2));
  EXPECT_EQ(readBillOfMaterials(bill.bytes()), std::nullopt);
  bill.blocks[1].replace(2, 2, bigEndian(0xFFFF, 2));
  EXPECT_EQ(readBillOfMaterials(bill.bytes()), std::nullopt);
  bill.blocks[1] = node(true, 0, {}).substr(0, 7);
  EXPECT_EQ(readBillOfMaterials(bill.bytes()), std::nullopt);
}

TEST(BillOfMaterialsDamage, TheCountsOfTheTreeAreNotTrusted) {
  for (const std::uint32_t entries : {0U, 1U, 2U, 0xFFFFFFFFU}) {
    auto bill = soundRawBill();
    bill.blocks[0] = tree(2, entries);
    EXPECT_THAT(pathsOf(bill.bytes()), ElementsAre("a")) << entries;
  }
}

TEST(BillOfMaterialsDamage, EntriesWithUnreadableBlocksAreDropped) {
  const auto paths = [](std::uint32_t infoBlock, std::uint32_t keyBlock) {
    auto bill = soundRawBill();
    bill.blocks[1] = node(true, 0, {{infoBlock, keyBlock}});
    bill.blocks[5] = bigEndian(0, 4) + "unending";
    return pathsOf(bill.bytes());
  };
  EXPECT_THAT(paths(4, 5), ElementsAre("a"));
  EXPECT_THAT(paths(4, 6), IsEmpty());
  EXPECT_THAT(paths(0, 5), IsEmpty());
  EXPECT_THAT(paths(4, 0), IsEmpty());
  EXPECT_THAT(paths(99, 5), IsEmpty());
  EXPECT_THAT(paths(4, 0xFFFFFFFF), IsEmpty());
}

TEST(BillOfMaterialsDamage, BlocksOutsideTheFileAreNotRead) {
  const auto paths = [](std::uint64_t address, std::uint64_t length) {
    auto bill = soundRawBill();
    bill.blocks[1] = node(true, 0, {{4, 5}, {4, 7}});
    bill.extraPlaces = {{address, length}};
    return pathsOf(bill.bytes());
  };
  for (const std::uint64_t address : {std::uint64_t{0x7FFFFFFF}, std::uint64_t{0xFFFFFFFF}}) {
    EXPECT_THAT(paths(address, 8), ElementsAre("a"));
    EXPECT_THAT(paths(address, 0xFFFFFFFF), ElementsAre("a"));
  }
  EXPECT_THAT(paths(512, 0xFFFFFFFF), ElementsAre("a"));
  EXPECT_THAT(paths(0, 0), ElementsAre("a"));
}

/// The entry of the valid bill and another one, "b", in separate leaves: blocks 2 and 7, with blocks 8 and 6 for "b".
RawBill twoLeaves(std::uint32_t root, std::uint32_t firstNext, std::uint32_t secondNext) {
  auto bill = soundRawBill();
  bill.blocks[0] = tree(root, 2);
  bill.blocks[1] = node(true, firstNext, {{4, 5}});
  bill.blocks.push_back(node(true, secondNext, {{8, 6}}));
  bill.blocks.push_back(info(8, 3));
  return bill;
}

TEST(BillOfMaterialsDamage, ACycleOfLeavesTerminates) {
  EXPECT_THAT(pathsOf(twoLeaves(2, 2, 0).bytes()), ElementsAre("a"));
  EXPECT_THAT(pathsOf(twoLeaves(2, 7, 2).bytes()), ElementsAre("a", "b"));
  EXPECT_THAT(pathsOf(twoLeaves(2, 7, 7).bytes()), ElementsAre("a", "b"));
}

TEST(BillOfMaterialsDamage, ALeafThatCannotBeReadEndsTheChain) {
  EXPECT_THAT(pathsOf(twoLeaves(2, 99, 0).bytes()), ElementsAre("a"));
  EXPECT_THAT(pathsOf(twoLeaves(2, 0xFFFFFFFF, 0).bytes()), ElementsAre("a"));
  auto bill = twoLeaves(2, 7, 0);
  bill.blocks[6].replace(2, 2, bigEndian(9, 2));
  EXPECT_THAT(pathsOf(bill.bytes()), ElementsAre("a"));
  bill.blocks[6] = node(false, 0, {{8, 6}});
  EXPECT_THAT(pathsOf(bill.bytes()), ElementsAre("a")) << "a branch among the leaves";
}

TEST(BillOfMaterialsDamage, CyclicAndEmptyBranchesTerminate) {
  const auto paths = [](const std::vector<std::pair<std::uint32_t, std::uint32_t>>& children) {
    auto bill = twoLeaves(9, 0, 0);
    bill.blocks.push_back(node(false, 0, children));
    return pathsOf(bill.bytes());
  };
  EXPECT_THAT(paths({{2, 5}, {7, 6}}), ElementsAre("a", "b"));
  EXPECT_THAT(paths({{9, 5}}), IsEmpty());
  EXPECT_THAT(paths({{9, 5}, {2, 5}, {9, 5}, {7, 6}, {2, 5}}), ElementsAre("a", "b"));
  EXPECT_THAT(paths({{99, 5}, {0, 0}, {7, 6}}), ElementsAre("b"));
  EXPECT_THAT(paths({}), IsEmpty());
}

TEST(BillOfMaterialsDamage, ABranchThatLacksALeafOfTheChainHidesNothing) {
  auto bill = twoLeaves(9, 7, 0);
  bill.blocks[0] = tree(9, 3);
  bill.blocks.push_back(node(false, 0, {{2, 5}}));
  EXPECT_THAT(pathsOf(bill.bytes()), ElementsAre("a", "b"));
}

TEST(BillOfMaterialsDamage, NumbersBeyondTheTableAreNotBlocks) {
  auto bill = twoLeaves(2, 7, 0);
  ASSERT_THAT(pathsOf(bill.bytes()), ElementsAre("a", "b"));
  bill.slots = 8;
  EXPECT_THAT(pathsOf(bill.bytes()), ElementsAre("a")) << "block 8 is cut off";
  bill.slots = 7;
  EXPECT_THAT(pathsOf(bill.bytes()), ElementsAre("a")) << "block 7 too";
}

TEST(BillOfMaterialsDamage, TheNullBlockIsNeverRead) {
  auto bill = soundRawBill();
  bill.blocks[1] = node(true, 0, {{4, 5}, {0, 6}});
  std::string bytes = bill.bytes();
  const std::size_t table = bytes.size() - 8 * (bill.blocks.size() + 1);
  bytes += info(8, 3);
  bytes.replace(table, 8, bigEndian(bytes.size() - 8, 4) + bigEndian(8, 4));
  EXPECT_THAT(pathsOf(bytes), ElementsAre("a"));
}

TEST(BillOfMaterialsDamage, OverlappingLeavesTerminate) {
  constexpr std::uint32_t kLeaves = 100;
  auto bill = soundRawBill();
  std::string region;
  for (std::uint32_t i = 0; i < kLeaves; ++i) {
    region += bigEndian(1, 2) + bigEndian(0xFFFF, 2) + bigEndian(8 + i + 1, 4) + bigEndian(0, 8);
  }
  std::uint64_t start = 512;
  for (const auto& block : bill.blocks) start += block.size();
  for (std::uint32_t i = 0; i < kLeaves; ++i) bill.extraPlaces.emplace_back(start + 16 * i, 12 + 8 * 0xFFFF);
  bill.blocks[1] = node(true, 8, {{4, 5}});
  bill.blocks.push_back(region + std::string(8 * 0xFFFF, '\0'));
  EXPECT_THAT(pathsOf(bill.bytes()), ElementsAre("a")) << "100 × 65,535 pairs in half a megabyte";
}

TEST(BillOfMaterialsDamage, ManyBlocksOverOneLeafDoNotMultiplyIt) {
  std::vector<std::pair<std::uint32_t, std::uint32_t>> pairs(1'000, {4, 5});
  auto bill = soundRawBill();
  bill.blocks[1] = node(true, 0, pairs);
  std::vector<std::pair<std::uint32_t, std::uint32_t>> children;
  for (std::uint32_t i = 0; i < 60'000; ++i) {
    children.emplace_back(8 + i, 5);
    bill.extraPlaces.emplace_back(512 + bill.blocks[0].size(), bill.blocks[1].size());
  }
  bill.blocks[0] = tree(7, 0xFFFFFFFF);
  bill.blocks.push_back(node(false, 0, children));
  EXPECT_THAT(pathsOf(bill.bytes()), ElementsAre("a"));
}

TEST(BillOfMaterialsDamage, ABillWithTooManyEntriesIsRefused) {
  const auto bill = [](std::uint32_t leaves) {
    auto raw = soundRawBill();
    raw.blocks[1] = node(true, 0, std::vector<std::pair<std::uint32_t, std::uint32_t>>(0xFFFF, {4, 5}));
    std::vector<std::pair<std::uint32_t, std::uint32_t>> children;
    for (std::uint32_t i = 0; i < leaves; ++i) {
      children.emplace_back(9 + i, 5);
      raw.extraPlaces.emplace_back(512 + raw.blocks[0].size(), raw.blocks[1].size());
    }
    raw.blocks[0] = tree(7, 0xFFFFFFFF);
    raw.blocks.push_back(node(false, 0, children));
    raw.blocks.emplace_back(9 * kMaxBillEntries, '\0');
    return readBillOfMaterials(raw.bytes());
  };
  EXPECT_TRUE(bill(1));
  EXPECT_FALSE(bill(31)) << "31 × 65,535 entries";
}

TEST(BillOfMaterialsDamage, ATooLargeBillIsNotRead) {
  std::string bytes = soundRawBill().bytes();
  bytes.resize(kMaxBillBytes);
  EXPECT_TRUE(readBillOfMaterials(bytes));
  bytes.resize(kMaxBillBytes + 1);
  EXPECT_FALSE(readBillOfMaterials(bytes));
}

TEST(BillOfMaterialsDamage, AnyByteMayBeCorrupt) {
  const std::string whole = smallBill({.pairsPerNode = 3, .padsNodes = false}).bytes();
  std::size_t readable = 0;
  for (std::size_t i = 0; i < whole.size(); ++i) {
    for (const char value : {'\0', '\1', '\2', '/', '\x7F', '\x80', '\xFF'}) {
      std::string damaged = whole;
      damaged[i] = value;
      readable += readBillOfMaterials(damaged) ? 1U : 0U;
    }
  }
  EXPECT_GT(readable, 0U);
}

}  // namespace
}  // namespace quarn::bill_of_materials_tests
