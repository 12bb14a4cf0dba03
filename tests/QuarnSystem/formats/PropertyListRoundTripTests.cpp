#include <array>
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "QuarnBuilders/PlistWriter.h"
#include "QuarnSystem/formats/PropertyList.h"

namespace quarn::property_list_round_trip_tests {
namespace {

/// A Python script that can print any property list as one line of text.
constexpr std::string_view kPrologue = R"(
import plistlib, random, struct, sys
from datetime import datetime, timedelta

EPOCH = datetime(2001, 1, 1)

def spelled(value):
    if value is True: return 't'
    if value is False: return 'f'
    if isinstance(value, int): return 'i%d' % value
    if isinstance(value, float): return 'r' + struct.pack('>d', value).hex()
    if isinstance(value, str): return 's' + value.encode().hex()
    if isinstance(value, bytes): return 'x' + value.hex()
    if isinstance(value, datetime): return 'd%d' % (value - EPOCH).total_seconds()
    if isinstance(value, list): return '[' + ','.join(spelled(v) for v in value) + ']'
    return '{' + ','.join(key.encode().hex() + ':' + spelled(v) for key, v in value.items()) + '}'
)";

/// Writes random lists in both forms: the line of text, the number of bytes, the bytes.
constexpr std::string_view kWriter = R"(
random.seed(20010101)
LETTERS = ' abcXYZ019.-_/&<>"\'' + '\u00e9\u00df\u0301\u65e5\u672c\U0001f600'

def text():
    return ''.join(random.choice(LETTERS) for _ in range(random.choice((0, 1, 5, 14, 15, 16, 40, 300))))

def value(depth):
    kind = random.randrange(9 if depth > 0 else 7)
    if kind == 0: return random.random() < 0.5
    if kind == 1: return random.choice((0, -1, 127, 128, 255, 256, 65535, 65536, 2**31, 2**32, 2**63 - 1, -2**63, -300))
    if kind == 2: return random.choice((0.0, -0.5, 1e300, 5e-324, 3.25, random.gauss(0, 1e6)))
    if kind == 3: return random.randbytes(random.choice((0, 1, 14, 15, 16, 1000)))
    if kind == 4: return EPOCH + timedelta(seconds=random.randrange(-10**9, 10**9))
    if kind <= 6: return text()
    if kind == 7: return [value(depth - 1) for _ in range(random.choice((0, 1, 3, 14, 15, 16, 20)))]
    return {text(): value(depth - 1) for _ in range(random.choice((0, 1, 3, 14, 15, 16, 20)))}

for _ in range(150):
    list_ = value(random.randrange(5))
    for form in (plistlib.FMT_XML, plistlib.FMT_BINARY):
        bytes_ = plistlib.dumps(list_, fmt=form, sort_keys=False)
        sys.stdout.buffer.write(b'%s\n%d\n%s' % (spelled(list_).encode(), len(bytes_), bytes_))
)";

constexpr std::string_view kReader = R"(
print(spelled(plistlib.load(sys.stdin.buffer)), end='')
)";

/// A temporary folder for a script and its input.
class PythonScript {
 public:
  explicit PythonScript(std::string_view body) {
    std::string pattern = (std::filesystem::temp_directory_path() / "quarn-plist-XXXXXX").string();
    folder_ = ::mkdtemp(pattern.data());
    std::ofstream(folder_ / "script.py") << kPrologue << body;
  }
  ~PythonScript() { std::filesystem::remove_all(folder_); }
  PythonScript(const PythonScript&) = delete;
  PythonScript& operator=(const PythonScript&) = delete;

  /// The output of the script for `input`. Fails the test if the script fails.
  [[nodiscard]] std::string output(const std::string& input) const {
    std::ofstream(folder_ / "input", std::ios::binary) << input;
    const std::string command =
        "python3 '" + (folder_ / "script.py").string() + "' < '" + (folder_ / "input").string() + "'";
    std::FILE* pipe = ::popen(command.c_str(), "r");
    std::string result;
    std::array<char, 65'536> buffer{};
    while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe)) {
      result.append(buffer.data(), count);
    }
    EXPECT_EQ(::pclose(pipe), 0) << command;
    return result;
  }

 private:
  std::filesystem::path folder_;
};

std::string hex(std::string_view bytes) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (const char byte : bytes) {
    text += kDigits[static_cast<std::uint8_t>(byte) >> 4U];
    text += kDigits[static_cast<std::uint8_t>(byte) & 0xFU];
  }
  return text;
}

std::string spelled(const PropertyList& list);

struct Spelling {
  std::string operator()(std::monostate) const { return "null"; }
  std::string operator()(bool value) const { return value ? "t" : "f"; }
  std::string operator()(std::int64_t value) const { return "i" + std::to_string(value); }
  std::string operator()(double value) const {
    std::array<char, 17> text{};
    std::snprintf(text.data(), text.size(), "%016llx",
                  static_cast<unsigned long long>(std::bit_cast<std::uint64_t>(value)));
    return "r" + std::string(text.data());
  }
  std::string operator()(const std::string& value) const { return "s" + hex(value); }
  std::string operator()(const PropertyList::Data& value) const { return "x" + hex(value.bytes); }
  std::string operator()(const PropertyList::Date& value) const {
    return "d" + std::to_string(static_cast<std::int64_t>(value.seconds));
  }
  std::string operator()(const PropertyList::Array& value) const {
    std::string text;
    for (const auto& element : value) text += (text.empty() ? "" : ",") + spelled(element);
    return "[" + text + "]";
  }
  std::string operator()(const PropertyList::Dictionary& value) const {
    std::string text;
    for (const auto& entry : value) text += (text.empty() ? "" : ",") + hex(entry.key) + ":" + spelled(entry.value);
    return "{" + text + "}";
  }
};

std::string spelled(const PropertyList& list) { return std::visit(Spelling{}, list.content()); }

std::string takeLine(std::string_view& text) {
  const std::size_t end = text.find('\n');
  std::string line(text.substr(0, end));
  text.remove_prefix(end + 1);
  return line;
}

TEST(PropertyListRoundTrip, ListsWrittenByPythonAreReadCorrectly) {
  const std::string written = PythonScript(kWriter).output("");
  std::size_t count = 0;
  for (std::string_view rest = written; !rest.empty(); ++count) {
    const std::string expected = takeLine(rest);
    const std::size_t length = std::stoul(takeLine(rest));
    const auto list = PropertyList::parse(rest.substr(0, length));
    ASSERT_TRUE(list) << "list " << count << ": " << expected;
    EXPECT_EQ(spelled(*list), expected) << "list " << count;
    rest.remove_prefix(length);
  }
  EXPECT_EQ(count, 300U);
}

TEST(PropertyListRoundTrip, PythonReadsTheListsOfTheTestWriter) {
  using namespace sample;  // NOLINT(google-build-using-namespace): the writer's words
  const PlistDictionary list{{"text", "a & <b> \xC3\xA9 \xF0\x9F\x98\x80"},
                             {"flags", PlistArray{true, false}},
                             {"numbers", PlistArray{0, -1, 255, 256, 70'000, std::int64_t{1} << 40, 2.5}},
                             {"data", PlistData{std::string("\0\1\xFF", 3)}},
                             {"date", PlistDate{700'000'000}},
                             {"long text", std::string(70'000, 'x')},
                             {"inner", PlistDictionary{{"empty", PlistArray{}}}}};
  const PythonScript python(kReader);
  for (const auto form : {PlistFormat::xml, PlistFormat::binary}) {
    const std::string bytes = plistBytes(list, form);
    const auto read = PropertyList::parse(bytes);
    ASSERT_TRUE(read);
    EXPECT_EQ(python.output(bytes), spelled(*read));
  }
}

}  // namespace
}  // namespace quarn::property_list_round_trip_tests
