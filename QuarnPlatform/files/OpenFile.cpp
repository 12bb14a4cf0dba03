#include <cerrno>

#include <unistd.h>

#include "QuarnPlatform/base/Interruption.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnPlatform/files/ReadReport.h"

namespace quarn {

std::string OpenFile::read(std::uint64_t offset, std::size_t count) const {
  if (offset >= size_) return {};
  std::string bytes(static_cast<std::size_t>(std::min<std::uint64_t>(count, size_ - offset)), '\0');
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t got = againIfInterrupted([&] {
      return ::pread(descriptor_.get(), bytes.data() + done, bytes.size() - done, static_cast<off_t>(offset + done));
    });
    if (got < 0) {
      const int error = errno;
      if (report_) report_->add(path_, error);
      throwFileError(error, "read", path_);
    }
    if (got == 0) break;
    done += static_cast<std::size_t>(got);
  }
  bytes.resize(done);
  return bytes;
}

}  // namespace quarn
