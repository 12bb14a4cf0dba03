#pragma once

#include <string>
#include <string_view>
#include <system_error>

namespace quarn {

/// The one exception that leaves the libraries: a system call on the inspected volume failed. Holds the errno
/// (`code()`), the path as the Mac names it, and the operation ("open", "list"). `what()` reads "open /Users/ann:
/// Permission denied".
class FileError : public std::system_error {
 public:
  FileError(int error, std::string operation, std::string path);

  [[nodiscard]] int error() const noexcept { return code().value(); }
  [[nodiscard]] const std::string& path() const noexcept { return path_; }
  [[nodiscard]] const std::string& operation() const noexcept { return operation_; }

 private:
  std::string operation_;
  std::string path_;
};

/// Throws the error that `errno` holds now. The only place where errno becomes an exception.
[[noreturn]] void throwFileError(std::string_view operation, std::string_view path);
[[noreturn]] void throwFileError(int error, std::string_view operation, std::string_view path);

/// Whether an errno says that there is no such item, as opposed to: the item, or the way to it, could not be read.
/// Missing is what has no entry (ENOENT), what would be in something that is not a folder (ENOTDIR), a link that leads
/// in circles (ELOOP), and a name that the file system cannot hold (ENAMETOOLONG, EILSEQ).
bool meansMissing(int error);

/// The symbolic name of an errno, "EACCES"; "E" and the number for one that has no name here.
std::string errnoName(int error);

}  // namespace quarn
