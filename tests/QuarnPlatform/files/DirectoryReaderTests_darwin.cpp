#include <cstring>
#include <map>
#include <set>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/attr.h>
#include <sys/stat.h>
#include <sys/vnode.h>

#include "QuarnPlatform/base/FileDescriptor.h"
#include "QuarnPlatform/files/DirectoryReader.h"
#include "tests/macos/emulation/Emulation.h"
#include "tests/support/MacVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::directory_reader_tests_darwin {
namespace {

using ::testing::ElementsAre;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

FileDescriptor openFolder(const MacVolume& volume, std::string_view path) {
  return FileDescriptor(::open(volume.host(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

TEST(DirectoryReader, SizesOfRegularFilesComeWithTheirNames) {
  MacVolume volume;
  volume.file("/t/file", 5000).sparse("/t/sparse", 1 << 20).link("/t/link", "file").folder("/t/folder");
  const FileDescriptor folder = openFolder(volume, "/t");
  DirectoryReader reader;
  reader.start(folder.get(), EnumeratedFacts::sizes);
  std::map<std::string, std::optional<ByteCounts>> sizes;
  while (reader.readMore()) {
    while (const DirectoryReader::Entry* entry = reader.next()) sizes.emplace(entry->name, entry->sizes);
  }
  ByteCounts file;
  ASSERT_TRUE(DirectoryReader::readSizes(folder.get(), "file", file));
  EXPECT_EQ(file.logicalBytes, 5000);
  EXPECT_THAT(sizes, UnorderedElementsAre(Pair("file", file), Pair("sparse", ByteCounts{0, 1 << 20}),
                                          Pair("link", std::nullopt), Pair("folder", std::nullopt)));
}

TEST(DirectoryReader, SizesAreNotReadUnlessAskedFor) {
  MacVolume volume;
  volume.file("/t/file", 5000);
  const FileDescriptor folder = openFolder(volume, "/t");
  DirectoryReader reader;
  reader.start(folder.get());
  ASSERT_TRUE(reader.readMore());
  EXPECT_EQ(reader.next()->sizes, std::nullopt);
}

TEST(DirectoryReader, AnItemWithTheHiddenFlagIsHidden) {
  MacVolume volume;
  volume.file("/t/shown").file("/t/flagged").folder("/t/folder");
  volume.xattr("/t/flagged", darwin::kFlagsAttribute, darwin::bytesOf(std::uint32_t{UF_HIDDEN}));
  volume.xattr("/t/folder", darwin::kFlagsAttribute, darwin::bytesOf(std::uint32_t{UF_HIDDEN}));
  const FileDescriptor folder = openFolder(volume, "/t");
  DirectoryReader reader;
  reader.start(folder.get());
  std::set<std::string> hidden;
  while (reader.readMore()) {
    while (const DirectoryReader::Entry* entry = reader.next()) {
      if (entry->hidden) hidden.emplace(entry->name);
    }
  }
  EXPECT_THAT(hidden, ElementsAre("flagged", "folder"));
}

// A record as the system gives it for an item whose attributes it could not read: its name and the error alone.
std::string recordWithError(std::string_view name) {
  std::string record(56, '\0');
  const auto put = [&](std::size_t at, auto value) { std::memcpy(record.data() + at, &value, sizeof value); };
  put(0, static_cast<std::uint32_t>(record.size()));
  attribute_set_t returned{};
  returned.commonattr = ATTR_CMN_RETURNED_ATTRS | ATTR_CMN_NAME | ATTR_CMN_ERROR;
  put(4, returned);
  put(24, std::uint32_t{EACCES});
  put(28, attrreference_t{.attr_dataoffset = 8, .attr_length = static_cast<std::uint32_t>(name.size() + 1)});
  std::memcpy(record.data() + 36, name.data(), name.size());
  return record;
}

TEST(DirectoryReader, AnItemWhoseAttributesTheSystemCouldNotReadIsLookedUp) {
  MacVolume volume;
  volume.folder("/t/folder").link("/t/link", "folder");
  const FileDescriptor folder = openFolder(volume, "/t");
  DirectoryReader reader;
  reader.resume(folder.get(), recordWithError("folder") + recordWithError("link") + recordWithError("vanished"));
  const DirectoryReader::Entry* entry = reader.next();
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry->name, "folder");
  EXPECT_EQ(entry->type, FileType::directory);
  entry = reader.next();
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry->name, "link");
  EXPECT_EQ(entry->type, FileType::symbolicLink);
  EXPECT_EQ(reader.next(), nullptr);
}

TEST(DirectoryReader, AFileThatIsOnlyInTheCloudOccupiesNothing) {
  MacVolume volume;
  volume.file("/t/file", 5000).xattr("/t/file", darwin::kFlagsAttribute, darwin::bytesOf(std::uint32_t{SF_DATALESS}));
  const FileDescriptor folder = openFolder(volume, "/t");
  const ByteCounts expected{.allocatedBytes = 0, .logicalBytes = 5000};
  DirectoryReader reader;
  reader.start(folder.get(), EnumeratedFacts::sizes);
  ASSERT_TRUE(reader.readMore());
  EXPECT_EQ(reader.next()->sizes, expected);
  ByteCounts sizes;
  ASSERT_TRUE(DirectoryReader::readSizes(folder.get(), "file", sizes));
  EXPECT_EQ(sizes, expected);
}

TEST(DirectoryReader, AFolderThatMayBeListedAndNotSearchedGivesNamesAndTypes) {
  MacVolume volume;
  volume.file("/t/file", 5000).folder("/t/folder").mode("/t", 0444);
  const FileDescriptor folder = openFolder(volume, "/t");
  const UnprivilegedUser user;
  DirectoryReader reader;
  reader.start(folder.get(), EnumeratedFacts::sizes);
  std::map<std::string, FileType> types;
  while (reader.readMore()) {
    while (const DirectoryReader::Entry* entry = reader.next()) {
      types.emplace(entry->name, entry->type);
      EXPECT_EQ(entry->sizes, std::nullopt);
    }
  }
  EXPECT_EQ(reader.error(), 0);
  EXPECT_THAT(types, UnorderedElementsAre(Pair("file", FileType::regular), Pair("folder", FileType::directory)));
}

TEST(DirectoryReader, SmallStretchesGiveEveryEntryOnce) {
  MacVolume volume;
  for (int i = 0; i < 500; ++i) volume.file("/t/file " + std::to_string(i), i);
  darwin::limitBulkBuffer(200);
  const FileDescriptor folder = openFolder(volume, "/t");
  DirectoryReader reader;
  reader.start(folder.get(), EnumeratedFacts::sizes);
  std::int64_t logicalBytes = 0;
  std::set<std::string> names;
  while (reader.readMore()) {
    while (const DirectoryReader::Entry* entry = reader.next()) {
      EXPECT_TRUE(names.emplace(entry->name).second);
      logicalBytes += entry->sizes.value().logicalBytes;
    }
  }
  darwin::limitBulkBuffer(0);
  EXPECT_EQ(reader.error(), 0);
  EXPECT_EQ(names.size(), 500);
  EXPECT_EQ(logicalBytes, 499 * 500 / 2);
}

}  // namespace
}  // namespace quarn::directory_reader_tests_darwin
