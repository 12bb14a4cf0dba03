#pragma once

#include <string>

namespace quarn {

/// Where tests make their volumes: $TMPDIR, else a file system in memory that has room and takes extended attributes,
/// else /tmp. On disks the tests spend most of their time waiting for files to be made and removed.
std::string temporaryFolder();

}  // namespace quarn
