#include "QuarnSystem/formats/ByteSource.h"

namespace quarn {

std::string ByteSource::exactly(std::uint64_t offset, std::size_t count) const {
  if (!read || offset > size || count > size - offset) return {};
  std::string bytes = read(offset, count);
  if (bytes.size() != count) return {};
  return bytes;
}

ByteSource ByteSource::over(std::string_view bytes) {
  return {.size = bytes.size(), .read = [bytes](std::uint64_t offset, std::size_t count) {
            if (offset > bytes.size()) return std::string();
            return std::string(bytes.substr(offset, count));
          }};
}

}  // namespace quarn
