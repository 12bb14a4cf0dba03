#pragma once

#include <string>
#include <string_view>

namespace quarn {

/// Whether a file of the host lies (or would lie) below a folder of the host, links resolved.
bool liesInHostFolder(const std::string& file, const std::string& folder);

/// A whole regular file of the host. Never waits for a pipe. Throws FileError: EINVAL for what is not a regular file,
/// EFBIG beyond `maximumBytes`.
std::string readHostFile(const std::string& file, std::size_t maximumBytes);

/// Looks whether a file of the host can be written, before the work that is to go into it: its folder is there and
/// takes files, and its name is not a folder's. Writes nothing. Throws FileError.
void checkHostFile(const std::string& file);

/// What `writeHostFile` changes: the folder in which it makes the file, or the file itself when that is not a regular
/// file.
std::string writtenPlace(const std::string& file);

/// Writes a whole file of the host or nothing: into a file beside it that takes its name at the end; a link's target is
/// written, and the permissions of a file that was there stay. What is no regular file (a terminal, a pipe, /dev/null)
/// is written to as it is. Throws FileError and leaves nothing behind when it cannot be written, nor when SIGINT,
/// SIGTERM or SIGHUP ends the process meanwhile. One thread at a time.
void writeHostFile(const std::string& file, std::string_view content);

/// Removes the file that an unfinished `writeHostFile` is writing, if there is one. For a process that is about to end;
/// safe in a signal handler.
void removeUnfinishedFile();

}  // namespace quarn
