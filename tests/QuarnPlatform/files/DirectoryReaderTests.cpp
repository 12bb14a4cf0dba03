#include <algorithm>
#include <cerrno>
#include <set>

#include <fcntl.h>
#include <gmock/gmock.h>

#include "QuarnPlatform/base/FileDescriptor.h"
#include "QuarnPlatform/files/DirectoryReader.h"
#include "tests/support/MacVolume.h"
#include "tests/support/MemoryVolume.h"

namespace quarn::directory_reader_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

FileDescriptor openFolder(const MacVolume& volume, std::string_view path) {
  return FileDescriptor(::open(volume.host(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

std::vector<std::pair<std::string, FileType>> rest(DirectoryReader& reader) {
  std::vector<std::pair<std::string, FileType>> entries;
  while (const DirectoryReader::Entry* entry = reader.next()) entries.emplace_back(entry->name, entry->type);
  return entries;
}

std::vector<std::pair<std::string, FileType>> list(DirectoryReader& reader, int folder) {
  std::vector<std::pair<std::string, FileType>> entries;
  reader.start(folder);
  while (reader.readMore()) {
    for (auto& entry : rest(reader)) entries.push_back(std::move(entry));
  }
  return entries;
}

// Enough entries for several batches.
MacVolume& manyFiles(MacVolume& volume, std::string_view folder, int count) {
  for (int i = 0; i < count; ++i) {
    volume.file(std::string(folder) + "/a file with a rather long name, number " + std::to_string(i));
  }
  return volume;
}

TEST(DirectoryReader, EveryEntryHasItsOwnType) {
  MacVolume volume;
  volume.file("/t/file").folder("/t/folder").link("/t/link", "folder").link("/t/dangling", "nowhere");
  volume.fifo("/t/pipe").socket("/t/socket");
  const FileDescriptor folder = openFolder(volume, "/t");
  DirectoryReader reader;
  EXPECT_THAT(list(reader, folder.get()),
              UnorderedElementsAre(Pair("file", FileType::regular), Pair("folder", FileType::directory),
                                   Pair("link", FileType::symbolicLink), Pair("dangling", FileType::symbolicLink),
                                   Pair("pipe", FileType::other), Pair("socket", FileType::other)));
  EXPECT_EQ(reader.error(), 0);
}

TEST(DirectoryReader, TheFolderItselfAndItsParentAreSkipped) {
  MacVolume volume;
  volume.folder("/t").file("/t/...").file("/t/..a");
  const FileDescriptor folder = openFolder(volume, "/t");
  DirectoryReader reader;
  EXPECT_THAT(list(reader, folder.get()),
              UnorderedElementsAre(Pair("...", FileType::regular), Pair("..a", FileType::regular)));
}

TEST(DirectoryReader, ANameThatBeginsWithADotIsHidden) {
  MacVolume volume;
  volume.file("/t/.hidden").file("/t/shown.").folder("/t/.folder");
  const FileDescriptor folder = openFolder(volume, "/t");
  DirectoryReader reader;
  reader.start(folder.get());
  std::set<std::string> hidden;
  std::set<std::string> shown;
  while (reader.readMore()) {
    while (const DirectoryReader::Entry* entry = reader.next()) (entry->hidden ? hidden : shown).emplace(entry->name);
  }
  EXPECT_THAT(hidden, ElementsAre(".folder", ".hidden"));
  EXPECT_THAT(shown, ElementsAre("shown."));
}

TEST(DirectoryReader, NamesAreTheBytesOnTheDisk) {
  MacVolume volume;
  const std::string odd = "\xFF\xFE\x01 \x1B[31m\n\xC3\xA9";
  volume.file("/t/" + odd);
  const FileDescriptor folder = openFolder(volume, "/t");
  DirectoryReader reader;
  EXPECT_THAT(list(reader, folder.get()), ElementsAre(Pair(odd, FileType::regular)));
}

TEST(DirectoryReader, AFolderOfSeveralBatchesIsReadToItsEnd) {
  MacVolume volume = volumeInMemory();
  constexpr int kFiles = 8000;
  manyFiles(volume, "/t", kFiles);
  const FileDescriptor folder = openFolder(volume, "/t");
  DirectoryReader reader;
  reader.start(folder.get());
  int stretches = 0;
  std::set<std::string> names;
  while (reader.readMore()) {
    ++stretches;
    for (const auto& [name, type] : rest(reader)) names.insert(name);
  }
  EXPECT_GT(stretches, 1);
  EXPECT_EQ(names.size(), static_cast<std::size_t>(kFiles));
}

TEST(DirectoryReader, AReaderIsGoodForOneFolderAfterAnother) {
  MacVolume volume;
  volume.file("/t/a").file("/u/b");
  const FileDescriptor first = openFolder(volume, "/t");
  const FileDescriptor second = openFolder(volume, "/u");
  DirectoryReader reader;
  EXPECT_THAT(list(reader, first.get()), ElementsAre(Pair("a", FileType::regular)));
  EXPECT_THAT(list(reader, second.get()), ElementsAre(Pair("b", FileType::regular)));
}

TEST(DirectoryReader, AnItemThatIsNotAFolderIsAnErrorAndTheNextFolderIsRead) {
  MacVolume volume;
  volume.file("/t/a");
  const FileDescriptor file(::open(volume.host("/t/a").c_str(), O_RDONLY | O_CLOEXEC));
  const FileDescriptor folder = openFolder(volume, "/t");
  DirectoryReader reader;
  EXPECT_THAT(list(reader, file.get()), IsEmpty());
  EXPECT_EQ(reader.error(), ENOTDIR);
  EXPECT_THAT(list(reader, folder.get()), ElementsAre(Pair("a", FileType::regular)));
  EXPECT_EQ(reader.error(), 0);
}

TEST(DirectoryReader, AFolderThatIsRemovedWhileOpenIsReportedAsMissing) {
  MacVolume volume;
  volume.folder("/t");
  const FileDescriptor folder = openFolder(volume, "/t");
  volume.remove("/t");
  DirectoryReader reader;
  EXPECT_THAT(list(reader, folder.get()), IsEmpty());
  EXPECT_EQ(reader.error(), ENOENT);
}

TEST(DirectoryReader, HalfOfAStretchCanBeReadByAnotherReaderAndNothingIsLostOrDoubled) {
  MacVolume volume;
  constexpr int kFiles = 1000;
  manyFiles(volume, "/t", kFiles);
  const FileDescriptor folder = openFolder(volume, "/t");
  DirectoryReader reader;
  DirectoryReader other;
  std::multiset<std::string> names;
  std::size_t taken = 0;
  reader.start(folder.get());
  while (reader.readMore()) {
    if (DirectoryReader::Stretch half = reader.takeHalf(); !half.empty()) {
      other.resume(folder.get(), std::move(half));
      for (const auto& [name, type] : rest(other)) names.insert(name), ++taken;
      EXPECT_EQ(other.error(), 0);
    }
    for (const auto& [name, type] : rest(reader)) names.insert(name);
  }
  EXPECT_GT(taken, static_cast<std::size_t>(kFiles) / 3);
  EXPECT_EQ(names.size(), static_cast<std::size_t>(kFiles));
  EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), static_cast<std::size_t>(kFiles));
}

TEST(DirectoryReader, AFewEntriesAreNotShared) {
  MacVolume volume;
  volume.file("/t/a").file("/t/b");
  const FileDescriptor folder = openFolder(volume, "/t");
  DirectoryReader reader;
  reader.start(folder.get());
  ASSERT_TRUE(reader.readMore());
  EXPECT_TRUE(reader.takeHalf().empty());
  EXPECT_EQ(rest(reader).size(), 2U);
}

TEST(DirectoryReader, SizesAreTheLengthAndTheBlocksOfTheFileItself) {
  MacVolume volume;
  volume.file("/t/full", 10'000).sparse("/t/sparse", 1'000'000).hardLink("/t/again", "/t/full");
  const FileDescriptor folder = openFolder(volume, "/t");
  ByteCounts sizes;
  ASSERT_TRUE(DirectoryReader::readSizes(folder.get(), "full", sizes));
  EXPECT_EQ(sizes.logicalBytes, 10'000);
  EXPECT_GE(sizes.allocatedBytes, 10'000);
  EXPECT_EQ(sizes.allocatedBytes % 512, 0);
  ByteCounts again;
  ASSERT_TRUE(DirectoryReader::readSizes(folder.get(), "again", again));
  EXPECT_EQ(again, sizes);
  ASSERT_TRUE(DirectoryReader::readSizes(folder.get(), "sparse", sizes));
  EXPECT_EQ(sizes, (ByteCounts{.allocatedBytes = 0, .logicalBytes = 1'000'000}));
}

TEST(DirectoryReader, AnItemThatIsNoLongerARegularFileHasNoSizes) {
  MacVolume volume;
  volume.folder("/t/folder").file("/t/file", 5).link("/t/link", "file");
  const FileDescriptor folder = openFolder(volume, "/t");
  for (const char* name : {"folder", "link", "missing"}) {
    ByteCounts sizes{.allocatedBytes = 1, .logicalBytes = 1};
    EXPECT_FALSE(DirectoryReader::readSizes(folder.get(), name, sizes)) << name;
    EXPECT_EQ(errno, ENOENT) << name;
  }
}

}  // namespace
}  // namespace quarn::directory_reader_tests
