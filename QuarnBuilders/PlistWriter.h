#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace quarn::sample {

struct PlistValue;
/// In output order. A key may be repeated, as in malformed files.
using PlistDictionary = std::vector<std::pair<std::string, PlistValue>>;
using PlistArray = std::vector<PlistValue>;

/// Raw bytes; a std::string in a value is text.
struct PlistData {
  std::string bytes;
};

/// A date, in seconds since 2001-01-01 00:00:00 UTC.
struct PlistDate {
  std::int64_t seconds = 0;
};

/// A value of a property list. Its constructors are implicit, so that trees can be written as literals: `{{"Label",
/// "com.example.agent"}, {"ProgramArguments", PlistArray{"/bin/ls", "-l"}}, {"RunAtLoad", true}}`.
struct PlistValue {
  std::variant<bool, std::int64_t, double, std::string, PlistData, PlistDate, PlistArray, PlistDictionary> held;

  PlistValue(bool value) : held(value) {}
  PlistValue(int value) : held(std::int64_t{value}) {}
  PlistValue(std::int64_t value) : held(value) {}
  PlistValue(double value) : held(value) {}
  PlistValue(const char* value) : held(std::string(value)) {}
  PlistValue(std::string value) : held(std::move(value)) {}
  PlistValue(PlistData value) : held(std::move(value)) {}
  PlistValue(PlistDate value) : held(value) {}
  PlistValue(PlistArray value) : held(std::move(value)) {}
  PlistValue(PlistDictionary value) : held(std::move(value)) {}
};

/// The two forms that macOS uses.
enum class PlistFormat : std::uint8_t { xml, binary };

/// The file in XML, indented as Apple's tools do.
std::string xmlPlist(const PlistValue& root);
/// The file in the "bplist00" form. ASCII texts are stored as ASCII, other texts as UTF-16; they must be valid UTF-8.
std::string binaryPlist(const PlistValue& root);
std::string plistBytes(const PlistValue& root, PlistFormat format);

}  // namespace quarn::sample
