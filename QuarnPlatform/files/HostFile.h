#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace quarn {

/// True if a host file is below a host folder after resolving links. The file need not exist.
bool liesInHostFolder(const std::string& file, const std::string& folder);

/// True if a host file does not exist; false if that cannot be found out.
bool isMissingOnHost(const std::string& file);

/// Reads a whole regular file of the host. Never waits for a pipe. Throws FileError: EINVAL for what is not a regular
/// file, EFBIG beyond `maximumBytes`.
std::string readHostFile(const std::string& file, std::size_t maximumBytes);

/// Checks that a host file can be written before the work that produces its content: the folder exists and is
/// writable, and the path is not a folder. Writes nothing. Throws FileError.
void checkHostFile(const std::string& file);

/// What `writeHostFile` changes: the folder in which it creates the file, or the file itself if it is not a regular
/// file.
std::string writtenPlace(const std::string& file);

/// Writes a host file completely or not at all: writes a temporary file beside it and renames it. Follows symbolic
/// links and keeps the permissions of an existing file. If the path exists and is not a regular file (a terminal, a
/// pipe, /dev/null), writes to it directly. On an error, throws FileError and removes the temporary file;
/// so do SIGINT, SIGTERM and SIGHUP. One thread at a time.
void writeHostFile(const std::string& file, std::string_view content);

/// Replaces a regular host file, or creates it, completely or not at all. The caller writes the content to the
/// temporary file beside it; `commit` syncs that file and renames it. Without `commit`, the destructor removes it; so
/// do SIGINT, SIGTERM and SIGHUP. One at a time.
class ReplacedHostFile {
 public:
  /// Creates the temporary file, empty. Throws FileError: EINVAL if the path is not a regular file.
  explicit ReplacedHostFile(const std::string& file);
  ~ReplacedHostFile();
  ReplacedHostFile(const ReplacedHostFile&) = delete;
  ReplacedHostFile& operator=(const ReplacedHostFile&) = delete;

  /// The path of the temporary file.
  [[nodiscard]] const std::string& temporary() const;
  /// Lets the system begin to write what the temporary file has by now to the disk, so that `commit` waits for less.
  /// From any thread, before `commit`.
  void beginWriteBack() const;
  /// Throws FileError.
  void commit();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

/// Removes the file that an unfinished `writeHostFile` is writing, if there is one. For a process that is about to end;
/// safe in a signal handler.
void removeUnfinishedFile();

}  // namespace quarn
