#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <map>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include "QuarnPlatform/base/FileDescriptor.h"
#include "QuarnPlatform/files/DirectoryReader.h"
#include "tests/support/MacVolume.h"
#include "tests/support/ProjectFolder.h"

namespace quarn::directory_reader_tests_linux {
namespace {

using ::testing::Pair;
using ::testing::UnorderedElementsAre;

// A kernel record of a file system that does not report types.
std::string recordWithoutType(std::string_view name) {
  const std::size_t length = (offsetof(dirent64, d_name) + name.size() + 1 + 7) / 8 * 8;
  std::string record(length, '\0');
  const auto recordLength = static_cast<std::uint16_t>(length);
  std::memcpy(record.data() + offsetof(dirent64, d_reclen), &recordLength, sizeof recordLength);
  record[offsetof(dirent64, d_type)] = DT_UNKNOWN;
  std::memcpy(record.data() + offsetof(dirent64, d_name), name.data(), name.size());
  return record;
}

TEST(DirectoryReader, AnUnreportedTypeIsLookedUpAndVanishedEntriesAreSkipped) {
  MacVolume volume;
  volume.file("/t/file").folder("/t/folder").link("/t/link", "folder").fifo("/t/pipe");
  const FileDescriptor folder(::open(volume.host("/t").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  std::string stretch;
  for (const char* name : {".", "..", "file", "folder", "link", "pipe", "vanished"}) stretch += recordWithoutType(name);
  DirectoryReader reader;
  reader.resume(folder.get(), stretch);
  std::map<std::string, FileType> types;
  while (const DirectoryReader::Entry* entry = reader.next()) types.emplace(entry->name, entry->type);
  EXPECT_THAT(types, UnorderedElementsAre(Pair("file", FileType::regular), Pair("folder", FileType::directory),
                                          Pair("link", FileType::symbolicLink), Pair("pipe", FileType::other)));
}

// Whether the file system gives the last position that exists with the last entry of this folder.
bool marksItsEnd(const std::string& folder) {
  const FileDescriptor opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  std::vector<char> batch(256 << 10);
  const ssize_t length = ::getdents64(opened.get(), batch.data(), batch.size());
  std::int64_t position = 0;
  for (ssize_t at = 0; at < length;) {
    std::uint16_t recordLength = 0;
    std::memcpy(&recordLength, batch.data() + at + offsetof(dirent64, d_reclen), sizeof recordLength);
    std::memcpy(&position, batch.data() + at + offsetof(dirent64, d_off), sizeof position);
    at += recordLength;
  }
  return position == std::numeric_limits<std::int64_t>::max();
}

TEST(DirectoryReader, AFolderWhoseLastEntryMarksItsEndIsNotReadAgain) {
  MacVolume volume;
  volume.file("/t/file").file("/other/file");
  // The volume may be in memory, the sources are on a disk: file systems with and without the mark.
  for (const std::string& folder : {volume.host("/t"), (projectFolder() / "cmake").string()}) {
    const FileDescriptor opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    DirectoryReader reader;
    reader.start(opened.get());
    ASSERT_TRUE(reader.readMore());
    while (reader.next() != nullptr) {
    }
    // Another folder in its place: reading again would find entries.
    const FileDescriptor other(::open(volume.host("/other").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(::dup2(other.get(), opened.get()), opened.get());
    EXPECT_EQ(reader.readMore(), !marksItsEnd(folder)) << folder;
    EXPECT_EQ(reader.error(), 0);
    reader.start(other.get());
    ASSERT_EQ(::lseek(other.get(), 0, SEEK_SET), 0);
    EXPECT_TRUE(reader.readMore()) << "the mark was the other folder's";
  }
}

}  // namespace
}  // namespace quarn::directory_reader_tests_linux
