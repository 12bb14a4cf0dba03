#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace quarn::sample {

struct PlistValue;
/// In the order written; a key may stand twice, as a broken writer would have it.
using PlistDictionary = std::vector<std::pair<std::string, PlistValue>>;
using PlistArray = std::vector<PlistValue>;

/// Raw bytes, as opposed to text.
struct PlistData {
  std::string bytes;
};

/// A moment, in seconds since 2001-01-01 00:00:00 UTC.
struct PlistDate {
  std::int64_t seconds = 0;
};

/// A value of a property list to be written, made implicitly from what it holds so that trees read as literals:
/// `{{"Label", "com.example.agent"}, {"ProgramArguments", PlistArray{"/bin/ls", "-l"}}, {"RunAtLoad", true}}`.
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

/// The two forms in use on a Mac.
enum class PlistFormat : std::uint8_t { xml, binary };

/// The file's bytes, indented as the system's own tools write it.
std::string xmlPlist(const PlistValue& root);
/// The file's bytes in the "bplist00" form; texts of ASCII bytes as such, others as UTF-16 (which must be valid UTF-8).
std::string binaryPlist(const PlistValue& root);
std::string plistBytes(const PlistValue& root, PlistFormat format);

}  // namespace quarn::sample
