#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace quarn {

/// Reads integers and slices from untrusted bytes. A value that is not entirely inside the bytes is absent; no offset
/// overflows. Does not own the bytes. Thread-safe.
class ByteReader {
 public:
  explicit ByteReader(std::string_view bytes, std::endian order = std::endian::big) : bytes_(bytes), order_(order) {}

  [[nodiscard]] std::uint64_t size() const { return bytes_.size(); }

  [[nodiscard]] std::optional<std::uint8_t> u8(std::uint64_t offset) const;
  [[nodiscard]] std::optional<std::uint16_t> u16(std::uint64_t offset) const;
  [[nodiscard]] std::optional<std::uint32_t> u32(std::uint64_t offset) const;
  [[nodiscard]] std::optional<std::uint64_t> u64(std::uint64_t offset) const;

  /// The unsigned integer in `width` bytes at `offset`. Also absent if `width` is 0 or more than 8.
  [[nodiscard]] std::optional<std::uint64_t> integer(std::uint64_t offset, std::size_t width) const;

  /// `count` bytes at `offset`.
  [[nodiscard]] std::optional<std::string_view> slice(std::uint64_t offset, std::uint64_t count) const;

  /// The text from `offset` to the first zero byte; absent if there is no zero byte.
  [[nodiscard]] std::optional<std::string_view> terminatedText(std::uint64_t offset) const;

 private:
  std::string_view bytes_;
  std::endian order_;
};

}  // namespace quarn
