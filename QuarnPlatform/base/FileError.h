#pragma once

#include <string>
#include <string_view>
#include <system_error>

namespace quarn {

/// A failed system call on the inspected volume. The only exception that the library throws. Holds the errno
/// (`error()`), the path on the Mac, and the operation ("open", "list"). `what()` is like "open /Users/ann:
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

/// Throws a FileError with the current errno. Only these functions turn an errno into an exception.
[[noreturn]] void throwFileError(std::string_view operation, std::string_view path);
[[noreturn]] void throwFileError(int error, std::string_view operation, std::string_view path);

/// True if an errno means that the item does not exist; false if the item or a parent folder could not be read.
/// Missing is what has no entry (ENOENT), what would be in something that is not a folder (ENOTDIR), a link that leads
/// in circles (ELOOP), and a name that the file system cannot hold (ENAMETOOLONG, EILSEQ).
bool meansMissing(int error);

/// True if an errno means that this process, or the system, has no descriptor left.
bool meansNoDescriptor(int error);

/// The symbolic name of an errno: "EACCES". "E" and the number if it has no name here.
std::string errnoName(int error);

}  // namespace quarn
