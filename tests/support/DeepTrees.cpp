#include "tests/support/DeepTrees.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "QuarnPlatform/base/FileDescriptor.h"

namespace quarn {
namespace {

int checked(int result) {
  if (result < 0) throw std::system_error(errno, std::generic_category(), "make a deep tree");
  return result;
}

FileDescriptor makeFolder(int parent, const char* name) {
  checked(::mkdirat(parent, name, 0755));
  return FileDescriptor(checked(::openat(parent, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC)));
}

void makeFile(int parent, const char* name, std::string_view content) {
  const FileDescriptor file(checked(::openat(parent, name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644)));
  checked(static_cast<int>(::write(file.get(), content.data(), content.size())));
}

}  // namespace

Comb::Comb(MacVolume& volume, std::string_view path, int levelCount) : levels(levelCount) {
  volume.folder(path);
  FileDescriptor folder(checked(::open(volume.host(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)));
  for (int level = 0; level < levelCount; ++level) {
    makeFolder(folder.get(), "a");
    makeFile(makeFolder(folder.get(), "e").get(), "f", "fff");
    makeFile(folder.get(), "z", "zzzzz");
    folder = makeFolder(folder.get(), "d");
  }
}

}  // namespace quarn
