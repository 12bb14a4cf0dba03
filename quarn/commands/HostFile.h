#pragma once

#include <string>
#include <string_view>

namespace quarn {

/// True if a host file is below a host folder after resolving links. The file need not exist.
bool liesInHostFolder(const std::string& file, const std::string& folder);

/// Checks that a host file can be written before the work that produces its content: the folder exists and is
/// writable, and the path is not a folder. Writes nothing. Throws FileError.
void checkHostFile(const std::string& file);

/// Writes a host file completely or not at all: writes a temporary file beside it and renames it. Follows symbolic
/// links and keeps the permissions of an existing file. If the path exists and is not a regular file (a terminal, a
/// pipe, /dev/null), writes to it directly. On an error, throws FileError and removes the temporary file.
void writeHostFile(const std::string& file, std::string_view content);

}  // namespace quarn
