#include "QuarnBuilders/VolumeWriter.h"

#include <array>
#include <cerrno>
#include <memory>
#include <utility>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "QuarnBuilders/ExtendedAttribute.h"
#include "QuarnPlatform/base/FileError.h"
#include "QuarnPlatform/paths/Path.h"

namespace quarn::sample {
namespace {

constexpr int kFolder = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

void check(int result, std::string_view what, std::string_view path) {
  if (result < 0) throwFileError(what, path);
}

void refuseParentName(std::string_view name, std::string_view path) {
  if (name == "..") throwFileError(EINVAL, "go up in", path);
}

// Opens a subfolder and creates it if it is missing. Does not follow links.
FileDescriptor enter(int folder, const std::string& name, std::string_view path) {
  refuseParentName(name, path);
  FileDescriptor inner(::openat(folder, name.c_str(), kFolder | O_NOFOLLOW));
  if (!inner.isOpen() && errno == ENOENT) {
    check(::mkdirat(folder, name.c_str(), 0755), "make the folder", path);
    inner = FileDescriptor(::openat(folder, name.c_str(), kFolder | O_NOFOLLOW));
    if (inner.isOpen()) check(::fchmod(inner.get(), 0755), "set the mode of", path);
  }
  if (!inner.isOpen()) throwFileError("enter", path);
  return inner;
}

// Removes all items except folders. Returns the names of the folders.
std::vector<std::string> removeFiles(int folder) {
  const std::unique_ptr<DIR, int (*)(DIR*)> list(::fdopendir(::openat(folder, ".", kFolder)), ::closedir);
  std::vector<std::string> names;
  while (const dirent* entry = list ? ::readdir(list.get()) : nullptr) names.emplace_back(entry->d_name);
  std::erase_if(names, [&](const std::string& name) {
    return name == "." || name == ".." || ::unlinkat(folder, name.c_str(), 0) == 0;
  });
  return names;
}

// Empties a folder. Keeps one folder open at a time and goes up through "..", so depth and path length are unlimited.
void empty(FileDescriptor folder) {
  struct Level {
    std::string name;
    std::vector<std::string> inner;
  };
  std::vector<Level> levels{{"", removeFiles(folder.get())}};
  while (true) {
    if (levels.back().inner.empty()) {
      const std::string done = levels.back().name;
      levels.pop_back();
      if (levels.empty()) return;
      folder = FileDescriptor(::openat(folder.get(), "..", kFolder));
      ::unlinkat(folder.get(), done.c_str(), AT_REMOVEDIR);
      continue;
    }
    const std::string next = std::move(levels.back().inner.back());
    levels.back().inner.pop_back();
    ::fchmodat(folder.get(), next.c_str(), 0700, 0);
    FileDescriptor inner(::openat(folder.get(), next.c_str(), kFolder | O_NOFOLLOW));
    if (!inner.isOpen()) continue;
    folder = std::move(inner);
    levels.push_back({next, removeFiles(folder.get())});
  }
}

}  // namespace

// The place of an item: its open parent folder and its name.
struct VolumeWriter::Place {
  FileDescriptor folder;
  std::string name;

  [[nodiscard]] int at() const { return folder.get(); }
};

VolumeWriter::Place VolumeWriter::place(const std::string& path) const {
  std::vector<std::string_view> names = path::names(path);
  Place place{FileDescriptor(::open(root_.c_str(), kFolder)), "."};
  if (!place.folder.isOpen()) throwFileError("open", root_);
  if (names.empty()) return place;
  place.name = names.back();
  refuseParentName(place.name, path);
  names.pop_back();
  for (const std::string_view name : names) place.folder = enter(place.at(), std::string(name), path);
  return place;
}

FileDescriptor VolumeWriter::create(const std::string& path, mode_t bits) const {
  const Place to = place(path);
  FileDescriptor file(::openat(to.at(), to.name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, bits));
  if (!file.isOpen()) throwFileError("make the file", path);
  check(::fchmod(file.get(), bits), "set the mode of", path);
  return file;
}

void VolumeWriter::folder(const std::string& path) const {
  const Place to = place(path);
  enter(to.at(), to.name, path);
}

void VolumeWriter::file(const std::string& path, std::string_view content, mode_t bits) const {
  const FileDescriptor file = create(path, bits);
  while (!content.empty()) {
    const ssize_t written = ::write(file.get(), content.data(), content.size());
    if (written < 0) throwFileError("write", path);
    content.remove_prefix(static_cast<std::size_t>(written));
  }
}

void VolumeWriter::sparse(const std::string& path, std::int64_t logicalBytes) const {
  check(::ftruncate(create(path, 0644).get(), logicalBytes), "lengthen", path);
}

void VolumeWriter::link(const std::string& path, const std::string& target) const {
  const Place to = place(path);
  check(::symlinkat(target.c_str(), to.at(), to.name.c_str()), "make the link", path);
}

void VolumeWriter::hardLink(const std::string& path, const std::string& existing) const {
  const Place from = place(existing);
  const Place to = place(path);
  check(::linkat(from.at(), from.name.c_str(), to.at(), to.name.c_str(), 0), "make the hard link", path);
}

void VolumeWriter::fifo(const std::string& path) const {
  const Place to = place(path);
  check(::mkfifoat(to.at(), to.name.c_str(), 0644), "make the pipe", path);
}

void VolumeWriter::socket(const std::string& path) const {
  const Place to = place(path);
  check(::mknodat(to.at(), to.name.c_str(), S_IFSOCK | 0644, 0), "make the socket", path);
}

void VolumeWriter::mode(const std::string& path, mode_t bits) const {
  const Place to = place(path);
  check(::fchmodat(to.at(), to.name.c_str(), bits, 0), "set the mode of", path);
}

void VolumeWriter::modified(const std::string& path, std::int64_t seconds) const {
  const Place to = place(path);
  const std::array<timespec, 2> times{{{.tv_sec = seconds, .tv_nsec = 0}, {.tv_sec = seconds, .tv_nsec = 0}}};
  check(::utimensat(to.at(), to.name.c_str(), times.data(), AT_SYMLINK_NOFOLLOW), "date", path);
}

void VolumeWriter::attribute(const std::string& path, const std::string& name, std::string_view bytes) const {
  const Place to = place(path);
  const FileDescriptor item(::openat(to.at(), to.name.c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC));
  if (!item.isOpen()) throwFileError("open", path);
  check(setAttribute(item.get(), name, bytes), "give an attribute to", path);
}

void VolumeWriter::remove(const std::string& path) const {
  const Place to = place(path);
  if (::unlinkat(to.at(), to.name.c_str(), 0) == 0) return;
  if (errno == ENOENT) throwFileError("remove", path);
  ::fchmodat(to.at(), to.name.c_str(), 0700, 0);
  empty(enter(to.at(), to.name, path));
  check(::unlinkat(to.at(), to.name.c_str(), AT_REMOVEDIR), "remove", path);
}

void VolumeWriter::clear() const noexcept {
  FileDescriptor top(::open(root_.c_str(), kFolder));
  if (top.isOpen()) empty(std::move(top));
}

}  // namespace quarn::sample
