#include <array>

#include <gmock/gmock.h>
#include <unistd.h>

#include "QuarnPlatform/base/FileDescriptor.h"
#include "quarn/rpc/LineReader.h"

namespace quarn::line_reader_tests {
namespace {

using testing::ElementsAre;

constexpr std::size_t kLongest = 10;

/// A pipe that the test writes piece by piece.
class LineReaderTest : public testing::Test {
 protected:
  LineReaderTest() {
    std::array<int, 2> ends{};
    EXPECT_EQ(::pipe(ends.data()), 0);
    reading_ = FileDescriptor(ends[0]);
    writing_ = FileDescriptor(ends[1]);
  }

  void write(std::string_view bytes) {
    EXPECT_EQ(::write(writing_.get(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  }

  [[nodiscard]] int reading() const { return reading_.get(); }

  /// All results of the reader, with one read per piece.
  std::vector<std::string> read(std::initializer_list<std::string_view> pieces) {
    LineReader reader(reading_.get(), kLongest);
    std::vector<std::string> seen;
    for (const std::string_view piece : pieces) {
      write(piece);
      reader.readMore();
      collect(reader, seen);
    }
    writing_.reset();
    reader.readMore();
    collect(reader, seen);
    return seen;
  }

 private:
  static void collect(LineReader& reader, std::vector<std::string>& seen) {
    std::string line;
    while (true) {
      switch (reader.next(line)) {
        case LineReader::Status::line: seen.push_back(line); break;
        case LineReader::Status::tooLong: seen.emplace_back("<too long>"); break;
        case LineReader::Status::needMore: return;
        case LineReader::Status::end: seen.emplace_back("<end>"); return;
      }
    }
  }

  FileDescriptor reading_;
  FileDescriptor writing_;
};

TEST_F(LineReaderTest, LinesEndAtEveryNewline) {
  EXPECT_THAT(read({"a\nbc\n\nd\n"}), ElementsAre("a", "bc", "", "d", "<end>"));
}

TEST_F(LineReaderTest, ALineMayArriveInPieces) {
  EXPECT_THAT(read({"a", "b", "c\nd", "\n"}), ElementsAre("abc", "d", "<end>"));
}

TEST_F(LineReaderTest, TheLastLineNeedsNoLineEnd) { EXPECT_THAT(read({"a\nb"}), ElementsAre("a", "b", "<end>")); }

TEST_F(LineReaderTest, EmptyInputHasNoLines) { EXPECT_THAT(read({}), ElementsAre("<end>")); }

TEST_F(LineReaderTest, ALineOfExactlyTheLimitIsAccepted) {
  EXPECT_THAT(read({"0123456789\n", "0123456789"}), ElementsAre("0123456789", "0123456789", "<end>"));
}

TEST_F(LineReaderTest, ALongerLineIsReportedOnceAndSkipped) {
  EXPECT_THAT(read({"0123456789a\nb\n"}), ElementsAre("<too long>", "b", "<end>"));
}

TEST_F(LineReaderTest, ALongerLineInPiecesIsReportedBeforeItsEndArrives) {
  EXPECT_THAT(read({"01234567", "89a", "and more", "and more again", "\nb\n"}),
              ElementsAre("<too long>", "b", "<end>"));
}

TEST_F(LineReaderTest, TwoLongLinesAreReportedTwice) {
  EXPECT_THAT(read({"0123456789a\n", "0123456789", "a", "\nb"}), ElementsAre("<too long>", "<too long>", "b", "<end>"));
}

TEST_F(LineReaderTest, TheInputMayEndInALongLine) {
  EXPECT_THAT(read({"0123456789abcdef"}), ElementsAre("<too long>", "<end>"));
}

TEST_F(LineReaderTest, ReadingAheadLosesNoLines) {
  LineReader reader(reading(), kLongest);
  for (const std::string_view piece : {"a\nb\n", "c\n"}) {
    write(piece);
    reader.readMore();
  }
  std::string line;
  std::vector<std::string> lines;
  while (reader.next(line) == LineReader::Status::line) lines.push_back(line);
  EXPECT_THAT(lines, ElementsAre("a", "b", "c"));
}

TEST(LineReader, AnUnreadableDescriptorEndsTheInput) {
  LineReader reader(-1, kLongest);
  reader.readMore();
  std::string line;
  EXPECT_EQ(reader.next(line), LineReader::Status::end);
}

}  // namespace
}  // namespace quarn::line_reader_tests
