#include "QuarnPlatform/files/HostFile.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <random>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "QuarnPlatform/base/FileDescriptor.h"
#include "QuarnPlatform/base/FileError.h"
#include "QuarnPlatform/base/Interruption.h"
#include "QuarnPlatform/files/WriteBack.h"
#include "QuarnPlatform/paths/Path.h"

namespace quarn {
namespace {

/// Ignores SIGXFSZ, so that a write beyond the file size limit fails instead of terminating the process, which would
/// leave a partial file.
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
  return true;
}

bool isSynced(int descriptor) { return ::fsync(descriptor) == 0 || errno == EINVAL || errno == EROFS; }

std::optional<struct stat> factsOf(const std::string& file) {
  struct stat facts {};
  if (::stat(file.c_str(), &facts) == 0) return facts;
  return std::nullopt;
}

std::string folderOf(const std::string& file) {
  const std::string folder = std::filesystem::path(file).parent_path().string();
  return folder.empty() ? "." : folder;
}

// Resolves symbolic links, because writing goes to the target. The target need not exist.
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
  const FileDescriptor descriptor(
      againIfInterrupted([&] { return ::open(file.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY); }));
  if (!descriptor.isOpen() || !writeAll(descriptor.get(), content) || !isSynced(descriptor.get())) {
    throwFileError("write", file);
  }
}

// Named before it is made, so that no signal comes between its making and its name. Nobody can guess the name; O_EXCL
// refuses a file that has it by chance.
std::string temporaryName(const std::string& target) {
  constexpr std::string_view kDigits = "0123456789abcdefghijklmnopqrstuvwxyz";
  std::string name = target + ".";
  std::random_device random;
  for (int i = 0; i < 16; ++i) name += kDigits[random() % kDigits.size()];
  return name;
}

// The new name must survive a power failure too. Not every file system can sync a folder.
void syncFolder(const std::string& folder) {
  const FileDescriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (descriptor.isOpen()) (void)::fsync(descriptor.get());
}

}  // namespace

bool liesInHostFolder(const std::string& file, const std::string& folder) {
  return path::isInside(targetOf(file), targetOf(folder));
}

bool isMissingOnHost(const std::string& file) { return !factsOf(file) && meansMissing(errno); }

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
  const auto facts = factsOf(file);
  if (facts && !S_ISREG(facts->st_mode)) {
    const SizeLimitSignalIgnored guard;
    writeInPlace(file, content);
    return;
  }
  ReplacedHostFile replaced(file);
  const FileDescriptor descriptor(::open(replaced.temporary().c_str(), O_WRONLY | O_NOFOLLOW | O_CLOEXEC));
  if (!descriptor.isOpen() || !writeAll(descriptor.get(), content)) throwFileError("write", file);
  replaced.commit();
}

struct ReplacedHostFile::State {
  explicit State(const std::string& path)
      : file(path), target(targetOf(path)), temporary(temporaryName(target)), unfinished(temporary) {}

  std::string file;
  std::string target;
  std::string temporary;
  mode_t mode = 0;
  bool isCreated = false;
  SizeLimitSignalIgnored guard{};
  UnfinishedFile unfinished;
};

ReplacedHostFile::ReplacedHostFile(const std::string& file) {
  checkHostFile(file);
  const auto facts = factsOf(file);
  if (facts && !S_ISREG(facts->st_mode)) throwFileError(EINVAL, "write", file);
  state_ = std::make_unique<State>(file);
  state_->mode = facts ? facts->st_mode & 07777 : newFileMode();
  const FileDescriptor descriptor(
      ::open(state_->temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!descriptor.isOpen()) throwFileError("write", file);
  state_->isCreated = true;
}

ReplacedHostFile::~ReplacedHostFile() {
  if (state_ && state_->isCreated) ::unlink(state_->temporary.c_str());
}

const std::string& ReplacedHostFile::temporary() const { return state_->temporary; }

void ReplacedHostFile::beginWriteBack() const {
  const FileDescriptor descriptor(::open(state_->temporary.c_str(), O_WRONLY | O_NOFOLLOW | O_CLOEXEC));
  if (descriptor.isOpen()) quarn::beginWriteBack(descriptor.get());
}

void ReplacedHostFile::commit() {
  const FileDescriptor descriptor(::open(state_->temporary.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC));
  if (!descriptor.isOpen() || !isSynced(descriptor.get()) || ::fchmod(descriptor.get(), state_->mode) != 0 ||
      ::rename(state_->temporary.c_str(), state_->target.c_str()) != 0) {
    throwFileError("write", state_->file);
  }
  state_->isCreated = false;
  syncFolder(folderOf(state_->target));
}

}  // namespace quarn
