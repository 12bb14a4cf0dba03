#include <limits>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "QuarnSystem/formats/ByteReader.h"
#include "QuarnSystem/formats/ByteSource.h"

namespace quarn::byte_reader_tests {
namespace {

constexpr std::uint64_t kFarAway = std::numeric_limits<std::uint64_t>::max();

TEST(ByteReader, ReadsIntegersOfEveryWidthInBothByteOrders) {
  const std::string bytes = "\x01\x02\x03\x04\x05\x06\x07\x88";
  const ByteReader big(bytes);
  const ByteReader little(bytes, std::endian::little);
  EXPECT_EQ(big.u8(7), 0x88);
  EXPECT_EQ(big.u16(0), 0x0102);
  EXPECT_EQ(little.u16(0), 0x0201);
  EXPECT_EQ(big.u32(4), 0x05060788U);
  EXPECT_EQ(little.u32(4), 0x88070605U);
  EXPECT_EQ(big.u64(0), 0x0102030405060788U);
  EXPECT_EQ(little.u64(0), 0x8807060504030201U);
  EXPECT_EQ(big.integer(1, 3), 0x020304U);
  EXPECT_EQ(little.integer(1, 3), 0x040302U);
}

TEST(ByteReader, ValuesBeyondTheEndAreAbsent) {
  const std::string bytes = "1234";
  const ByteReader reader(bytes);
  EXPECT_EQ(reader.u32(0), 0x31323334U);
  EXPECT_EQ(reader.u32(1), std::nullopt);
  EXPECT_EQ(reader.u8(4), std::nullopt);
  EXPECT_EQ(reader.slice(4, 0), "");
  EXPECT_EQ(reader.slice(2, 2), "34");
  EXPECT_EQ(reader.slice(2, 3), std::nullopt);
  EXPECT_EQ(reader.slice(5, 0), std::nullopt);
}

TEST(ByteReader, NoOffsetOrCountOverflows) {
  const std::string bytes = "1234";
  const ByteReader reader(bytes);
  EXPECT_EQ(reader.slice(kFarAway, 1), std::nullopt);
  EXPECT_EQ(reader.slice(1, kFarAway), std::nullopt);
  EXPECT_EQ(reader.slice(kFarAway, kFarAway), std::nullopt);
  EXPECT_EQ(reader.u64(kFarAway - 3), std::nullopt);
  EXPECT_EQ(reader.terminatedText(kFarAway), std::nullopt);
}

TEST(ByteReader, AnIntegerOfNoWidthOrOfMoreThanEightBytesIsAbsent) {
  const std::string bytes(16, '\1');
  EXPECT_EQ(ByteReader(bytes).integer(0, 0), std::nullopt);
  EXPECT_EQ(ByteReader(bytes).integer(0, 9), std::nullopt);
}

TEST(ByteReader, TextEndsAtAZeroByteAndIsAbsentWithoutOne) {
  const std::string bytes("ab\0cd", 5);
  const ByteReader reader(bytes);
  EXPECT_EQ(reader.terminatedText(0), "ab");
  EXPECT_EQ(reader.terminatedText(2), "");
  EXPECT_EQ(reader.terminatedText(3), std::nullopt);
  EXPECT_EQ(reader.terminatedText(5), std::nullopt);
}

TEST(ByteSource, ReturnsAllRequestedBytesOrNothing) {
  const auto source = ByteSource::over("12345");
  EXPECT_EQ(source.size, 5U);
  EXPECT_EQ(source.exactly(1, 3), "234");
  EXPECT_EQ(source.exactly(3, 2), "45");
  EXPECT_EQ(source.exactly(3, 3), "");
  EXPECT_EQ(source.exactly(kFarAway, 1), "");
  EXPECT_EQ(source.read(9, 1), "");
}

TEST(ByteSource, AShortReadCountsAsNothing) {
  const ByteSource source{.size = 100, .read = [](std::uint64_t, std::size_t) { return std::string("ab"); }};
  EXPECT_EQ(source.exactly(0, 2), "ab");
  EXPECT_EQ(source.exactly(0, 3), "");
}

TEST(ByteSource, ASourceWithoutAReadFunctionIsEmpty) { EXPECT_EQ(ByteSource{.size = 4}.exactly(0, 4), ""); }

}  // namespace
}  // namespace quarn::byte_reader_tests
