#include "QuarnCore/scans/ScanHeader.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "QuarnCore/scans/ScanError.h"
#include "QuarnCore/scans/ScanSchema.h"
#include "QuarnPlatform/base/FileDescriptor.h"
#include "QuarnPlatform/base/FileError.h"
#include "QuarnPlatform/base/Interruption.h"

namespace quarn {
namespace {

// The header of a SQLite file: offsets of big-endian numbers, from SQLite's description of the format.
constexpr std::string_view kMagic("SQLite format 3\0", 16);
constexpr std::size_t kHeaderSize = 100;
constexpr std::size_t kPageSizeAt = 16;
constexpr std::size_t kPageCountAt = 28;
constexpr std::size_t kUserVersionAt = 60;
constexpr std::size_t kApplicationIDAt = 68;

using Header = std::array<char, kHeaderSize>;

std::uint32_t numberAt(const Header& header, std::size_t offset, int bytes) {
  std::uint32_t number = 0;
  for (int i = 0; i < bytes; ++i) {
    number = number << 8U | static_cast<unsigned char>(header[offset + static_cast<std::size_t>(i)]);
  }
  return number;
}

}  // namespace

std::int64_t checkScanHeader(const std::string& file) {
  const FileDescriptor descriptor(
      againIfInterrupted([&] { return ::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC); }));
  if (!descriptor.isOpen()) throwFileError("open", file);
  struct stat facts {};
  if (::fstat(descriptor.get(), &facts) != 0) throwFileError("open", file);
  if (!S_ISREG(facts.st_mode)) throwFileError(S_ISDIR(facts.st_mode) ? EISDIR : EINVAL, "open", file);
  Header header{};
  const ssize_t got = againIfInterrupted([&] { return ::pread(descriptor.get(), header.data(), header.size(), 0); });
  if (got < 0) throwFileError("read", file);
  const bool isWhole = got == static_cast<ssize_t>(header.size());
  const bool isScan = isWhole && std::string_view(header.data(), kMagic.size()) == kMagic &&
                      numberAt(header, kApplicationIDAt, 4) == kScanApplicationID;
  if (!isScan) throw ScanError(ScanError::Problem::foreign, file);
  const auto version = static_cast<std::int32_t>(numberAt(header, kUserVersionAt, 4));
  if (version > kScanFormat) throw ScanError(ScanError::Problem::newer, file);
  const std::int64_t length = std::int64_t{numberAt(header, kPageSizeAt, 2)} * numberAt(header, kPageCountAt, 4);
  if (version < 1 || length != facts.st_size) throw ScanError(ScanError::Problem::damaged, file);
  return version;
}

}  // namespace quarn
