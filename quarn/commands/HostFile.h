#pragma once

#include <string>
#include <string_view>

namespace quarn {

/// Whether a file of the host lies (or would lie) below a folder of the host, links resolved.
bool liesInHostFolder(const std::string& file, const std::string& folder);

/// Writes a whole file of the host or nothing: into a file beside it that takes its name at the end. Throws FileError
/// and leaves nothing behind when it cannot be written.
void writeHostFile(const std::string& file, std::string_view content);

}  // namespace quarn
