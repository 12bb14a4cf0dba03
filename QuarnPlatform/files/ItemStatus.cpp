#include "QuarnPlatform/files/ItemStatus.h"

#include <cerrno>

#include "QuarnPlatform/base/BlockBytes.h"

namespace quarn {
namespace {

std::optional<ByteCounts> statusSizes(const struct stat& status, bool isOnlyInCloud) {
  const std::uint64_t blocks = isOnlyInCloud ? 0 : static_cast<std::uint64_t>(status.st_blocks);
  const std::optional<std::int64_t> allocated = bytesInBlocks(blocks, kStatusBlockSize);
  if (!allocated || status.st_size < 0) return std::nullopt;
  return ByteCounts{.allocatedBytes = *allocated, .logicalBytes = status.st_size};
}

}  // namespace

FileType fileTypeOf(mode_t mode) {
  if (S_ISREG(mode)) return FileType::regular;
  if (S_ISDIR(mode)) return FileType::directory;
  return S_ISLNK(mode) ? FileType::symbolicLink : FileType::other;
}

std::optional<ItemFacts> factsOf(const struct stat& status, bool isOnlyInCloud) {
  const FileType type = fileTypeOf(status.st_mode);
  const std::optional<ByteCounts> sizes = type == FileType::regular ? statusSizes(status, isOnlyInCloud) : ByteCounts{};
  if (!sizes) {
    errno = EOVERFLOW;
    return std::nullopt;
  }
  return ItemFacts{.type = type,
                   .sizes = *sizes,
                   .anyExecuteBit = (status.st_mode & (S_IXUSR | S_IXGRP | S_IXOTH)) != 0,
                   .modifiedSeconds = status.st_mtime,
                   .device = static_cast<std::uint64_t>(status.st_dev),
                   .inode = status.st_ino,
                   .links = status.st_nlink,
                   .isOnlyInCloud = isOnlyInCloud};
}

}  // namespace quarn
