#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>

#include <dirent.h>
#include <fcntl.h>
#include <gmock/gmock.h>

#include "QuarnPlatform/base/FileDescriptor.h"
#include "QuarnPlatform/files/DirectoryReader.h"
#include "tests/support/MacVolume.h"

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

}  // namespace
}  // namespace quarn::directory_reader_tests_linux
