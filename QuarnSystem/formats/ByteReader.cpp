#include "QuarnSystem/formats/ByteReader.h"

namespace quarn {

namespace {

template <class Integer>
std::optional<Integer> narrowed(std::optional<std::uint64_t> value) {
  if (!value) return std::nullopt;
  return static_cast<Integer>(*value);
}

}  // namespace

std::optional<std::uint8_t> ByteReader::u8(std::uint64_t offset) const {
  return narrowed<std::uint8_t>(integer(offset, 1));
}

std::optional<std::uint16_t> ByteReader::u16(std::uint64_t offset) const {
  return narrowed<std::uint16_t>(integer(offset, 2));
}

std::optional<std::uint32_t> ByteReader::u32(std::uint64_t offset) const {
  return narrowed<std::uint32_t>(integer(offset, 4));
}

std::optional<std::uint64_t> ByteReader::u64(std::uint64_t offset) const { return integer(offset, 8); }

std::optional<std::uint64_t> ByteReader::integer(std::uint64_t offset, std::size_t width) const {
  const auto field = slice(offset, width);
  if (!field || width == 0 || width > 8) return std::nullopt;
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < width; ++i) {
    const std::size_t position = order_ == std::endian::big ? i : width - 1 - i;
    value = (value << 8U) | static_cast<std::uint8_t>((*field)[position]);
  }
  return value;
}

std::optional<std::string_view> ByteReader::slice(std::uint64_t offset, std::uint64_t count) const {
  if (offset > size() || count > size() - offset) return std::nullopt;
  return bytes_.substr(offset, count);
}

std::optional<std::string_view> ByteReader::terminatedText(std::uint64_t offset) const {
  if (offset >= size()) return std::nullopt;
  const std::size_t end = bytes_.find('\0', offset);
  if (end == std::string_view::npos) return std::nullopt;
  return bytes_.substr(offset, end - offset);
}

}  // namespace quarn
