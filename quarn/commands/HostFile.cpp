#include "quarn/commands/HostFile.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <random>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "QuarnPlatform/base/FileDescriptor.h"
#include "QuarnPlatform/base/FileError.h"
#include "QuarnPlatform/base/Interruption.h"
#include "QuarnPlatform/paths/Path.h"

namespace quarn {
namespace {

/// Makes a write beyond the limit of file sizes an error instead of the end of the process, which would leave the
/// unfinished file.
class SizeLimitSignalIgnored {
 public:
  SizeLimitSignalIgnored() {
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    ::sigaction(SIGXFSZ, &ignore, &before_);
  }
  ~SizeLimitSignalIgnored() { ::sigaction(SIGXFSZ, &before_, nullptr); }
  SizeLimitSignalIgnored(const SizeLimitSignalIgnored&) = delete;
  SizeLimitSignalIgnored& operator=(const SizeLimitSignalIgnored&) = delete;

 private:
  struct sigaction before_ {};
};

// Read by signal handlers; the text lives as long as its UnfinishedFile.
std::atomic<const char*> unfinishedFile = nullptr;
static_assert(std::atomic<const char*>::is_always_lock_free);

void removeAndEnd(int signal) {
  removeUnfinishedFile();
  ::signal(signal, SIG_DFL);
  ::raise(signal);
}

/// A file that is to be removed when a signal ends the process before it is finished. A signal that the process ignores
/// stays ignored.
class UnfinishedFile {
 public:
  explicit UnfinishedFile(const std::string& path) {
    unfinishedFile = path.c_str();
    for (std::size_t i = 0; i < kSignals.size(); ++i) {
      ::sigaction(kSignals[i], nullptr, &before_[i]);
      if (before_[i].sa_handler != SIG_DFL) continue;
      struct sigaction remove {};
      remove.sa_handler = removeAndEnd;
      ::sigaction(kSignals[i], &remove, nullptr);
    }
  }
  ~UnfinishedFile() {
    for (std::size_t i = 0; i < kSignals.size(); ++i) ::sigaction(kSignals[i], &before_[i], nullptr);
    unfinishedFile = nullptr;
  }
  UnfinishedFile(const UnfinishedFile&) = delete;
  UnfinishedFile& operator=(const UnfinishedFile&) = delete;

 private:
  static constexpr std::array<int, 3> kSignals{SIGINT, SIGTERM, SIGHUP};
  std::array<struct sigaction, 3> before_{};
};

bool writeAll(int descriptor, std::string_view content) {
  while (!content.empty()) {
    const ssize_t written = ::write(descriptor, content.data(), content.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    content.remove_prefix(static_cast<std::size_t>(written));
  }
  return ::fsync(descriptor) == 0 || errno == EINVAL || errno == EROFS;
}

std::optional<struct stat> factsOf(const std::string& file) {
  struct stat facts {};
  if (::stat(file.c_str(), &facts) == 0) return facts;
  return std::nullopt;
}

std::string folderOf(const std::string& file) {
  const std::string folder = std::filesystem::path(file).parent_path().string();
  return folder.empty() ? "." : folder;
}

// What a link leads to is written, not the link, and a link may lead to where nothing is yet.
std::string targetOf(const std::string& file) {
  constexpr int kMostLinks = 40;
  std::error_code error;
  std::filesystem::path target = std::filesystem::absolute(file, error);
  for (int links = 0; links < kMostLinks && std::filesystem::is_symlink(target, error); ++links) {
    target = target.parent_path() / std::filesystem::read_symlink(target, error);
  }
  const auto canonical = std::filesystem::weakly_canonical(target, error);
  return error ? file : canonical.string();
}

mode_t newFileMode() {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666 & ~mask;
}

void writeInPlace(const std::string& file, std::string_view content) {
  const FileDescriptor descriptor(::open(file.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY));
  if (!descriptor.isOpen() || !writeAll(descriptor.get(), content)) throwFileError("write", file);
}

// Named before it is made, so that no signal comes between its making and its name.
std::string temporaryName(const std::string& target) {
  constexpr std::string_view kDigits = "0123456789abcdefghijklmnopqrstuvwxyz";
  std::string name = target + ".";
  std::random_device random;
  for (int i = 0; i < 16; ++i) name += kDigits[random() % kDigits.size()];
  return name;
}

void replaceFile(const std::string& file, const std::string& target, mode_t mode, std::string_view content) {
  const std::string temporary = temporaryName(target);
  const UnfinishedFile unfinished(temporary);
  const FileDescriptor descriptor(
      ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!descriptor.isOpen()) throwFileError("write", file);
  const bool isWritten = writeAll(descriptor.get(), content) && ::fchmod(descriptor.get(), mode) == 0 &&
                         ::rename(temporary.c_str(), target.c_str()) == 0;
  if (isWritten) return;
  const int error = errno;
  ::unlink(temporary.c_str());
  throwFileError(error, "write", file);
}

}  // namespace

bool liesInHostFolder(const std::string& file, const std::string& folder) {
  return path::isInside(targetOf(file), targetOf(folder));
}

std::string readHostFile(const std::string& file, std::size_t maximumBytes) {
  const auto facts = factsOf(file);
  if (!facts) throwFileError("read", file);
  if (!S_ISREG(facts->st_mode)) throwFileError(EINVAL, "read", file);
  const FileDescriptor descriptor(::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!descriptor.isOpen()) throwFileError("read", file);
  std::string content;
  std::array<char, 32768> chunk{};
  for (;;) {
    const ssize_t got = againIfInterrupted([&] { return ::read(descriptor.get(), chunk.data(), chunk.size()); });
    if (got < 0) throwFileError("read", file);
    if (got == 0) return content;
    content.append(chunk.data(), static_cast<std::size_t>(got));
    if (content.size() > maximumBytes) throwFileError(EFBIG, "read", file);
  }
}

void removeUnfinishedFile() {
  const char* path = unfinishedFile.exchange(nullptr);
  if (path != nullptr) ::unlink(path);
}

void checkHostFile(const std::string& file) {
  const auto facts = factsOf(file);
  if (file.ends_with('/') || (facts && S_ISDIR(facts->st_mode))) throwFileError(EISDIR, "write", file);
  if (facts && !S_ISREG(facts->st_mode)) return;
  const std::string folder = folderOf(targetOf(file));
  const auto folderFacts = factsOf(folder);
  if (!folderFacts) throwFileError("write", file);
  if (!S_ISDIR(folderFacts->st_mode)) throwFileError(ENOTDIR, "write", file);
  if (::faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) != 0) throwFileError("write", file);
}

std::string writtenPlace(const std::string& file) {
  const auto facts = factsOf(file);
  return facts && !S_ISREG(facts->st_mode) ? file : folderOf(targetOf(file));
}

void writeHostFile(const std::string& file, std::string_view content) {
  checkHostFile(file);
  const SizeLimitSignalIgnored guard;
  const auto facts = factsOf(file);
  if (facts && !S_ISREG(facts->st_mode)) {
    writeInPlace(file, content);
  } else {
    replaceFile(file, targetOf(file), facts ? facts->st_mode & 07777 : newFileMode(), content);
  }
}

}  // namespace quarn
