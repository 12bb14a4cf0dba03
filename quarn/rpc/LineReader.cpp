#include "quarn/rpc/LineReader.h"

#include <cerrno>
#include <utility>

#include <unistd.h>

namespace quarn {
namespace {

constexpr std::size_t kChunk = 64u << 10;
/// Free the buffer if a long line made it larger than this.
constexpr std::size_t kKeptCapacity = 1u << 20;

}  // namespace

LineReader::Status LineReader::next(std::string& line) {
  while (true) {
    const std::size_t end = buffer_.find('\n', scanned_);
    if (end == std::string::npos) return nextUnfinished(line);
    const std::size_t begin = start_;
    start_ = scanned_ = end + 1;
    if (std::exchange(isDropping_, false)) continue;
    if (end - begin > maximumBytes_) return Status::tooLong;
    line.assign(buffer_, begin, end - begin);
    return Status::line;
  }
}

LineReader::Status LineReader::nextUnfinished(std::string& line) {
  const std::size_t length = buffer_.size() - start_;
  scanned_ = buffer_.size();
  if (isDropping_ || length > maximumBytes_) {
    forgetBuffer();
    if (!std::exchange(isDropping_, true)) return Status::tooLong;
    return isAtEnd_ ? Status::end : Status::needMore;
  }
  if (!isAtEnd_) return Status::needMore;
  if (length == 0) return Status::end;
  line.assign(buffer_, start_, length);
  forgetBuffer();
  return Status::line;
}

void LineReader::readMore() {
  buffer_.erase(0, start_);
  scanned_ -= std::exchange(start_, 0);
  if (buffer_.empty()) forgetBuffer();
  if (!chunk_) chunk_ = std::make_unique_for_overwrite<char[]>(kChunk);  // NOLINT(modernize-avoid-c-arrays)
  ssize_t count = 0;
  do {
    count = ::read(descriptor_, chunk_.get(), kChunk);
  } while (count < 0 && errno == EINTR);
  if (count > 0) buffer_.append(chunk_.get(), static_cast<std::size_t>(count));
  isAtEnd_ = count == 0 || (count < 0 && errno != EAGAIN);
}

void LineReader::forgetBuffer() {
  buffer_.clear();
  if (buffer_.capacity() > kKeptCapacity) buffer_.shrink_to_fit();
  start_ = scanned_ = 0;
}

}  // namespace quarn
