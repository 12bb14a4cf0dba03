#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "QuarnPlatform/json/JSONDecoder.h"
#include "QuarnPlatform/json/JSONLibrary.h"

/// Every record of the library as JSON, in the form of docs/rpc.md: members in the records' order, file URLs as
/// "file://…", dates as "2026-11-20T21:23:05Z", enumerations by their raw strings, byte counts as integers, absent
/// values as null. Texts are well-formed UTF-8, with U+FFFD for each bad byte.
///
/// The operations are defined for the records, the enumerations, FileURL, Date, std::string, bool, std::int64_t and
/// double, for vectors and optionals of what is sent in those forms, and for the maps that results hold; any other type
/// does not link. A source file that uses them includes <nlohmann/json.hpp>. Pure functions, safe from any thread.
namespace quarn {

template <class Value>
[[nodiscard]] nlohmann::ordered_json toJSON(const Value& value);

/// The value of a request. Throws DecodingError, which names the place. Members that a record does not have are passed
/// over, so that a shell may keep its own notes in what it got and sends back; in `Options` they are refused, so that a
/// misspelt choice does not go unseen. Not defined for what is only ever a result.
template <class Value>
[[nodiscard]] Value fromJSON(const JSONDecoder& value);

/// How the type is called in the description of the interface: "AppEntity", "[URL]", "SizeInfo?".
template <class Value>
[[nodiscard]] std::string typeName();

/// A record for the description of the interface.
struct RecordDescription {
  struct Member {
    std::string name;
    std::string type;  ///< "?" at the end: may be null
    bool isRequired;   ///< a request must give it
  };
  std::string_view name;
  std::vector<Member> members;
};

struct EnumerationDescription {
  std::string_view name;
  std::vector<std::string_view> values;
};

[[nodiscard]] std::vector<RecordDescription> describeRecords();
[[nodiscard]] std::vector<EnumerationDescription> describeEnumerations();

}  // namespace quarn
