#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "QuarnPlatform/json/JSONDecoder.h"
#include "QuarnPlatform/json/JSONLibrary.h"

/// The records of the library as JSON, in the form of docs/rpc.md: members in order, file URLs as "file://…", dates
/// as "2026-11-20T21:23:05Z", enumerations as raw strings, byte counts as integers, absent values as null. Texts are
/// valid UTF-8; U+FFFD replaces each invalid byte.
///
/// The functions are instantiated for the records, the enumerations, FileURL, Date, std::string, bool, std::int64_t
/// and double, for the vectors and optionals of these that the interface uses, and for the maps in results. Other
/// types fail to link. Include QuarnPlatform/json/JSONLibrary.h to use them. Pure functions; thread-safe.
namespace quarn {

template <class Value>
[[nodiscard]] nlohmann::ordered_json toJSON(const Value& value);
/// The same as text on one line, several times as fast.
template <class Value>
[[nodiscard]] std::string jsonText(const Value& value);

/// Decodes a value of a request. Throws DecodingError with the path of the faulty value. Ignores unknown members of
/// records, so that a client can send back a record with its own additions; refuses them in `Options`, so that a
/// misspelling does not go unnoticed. Not available for types that occur only in results.
template <class Value>
[[nodiscard]] Value fromJSON(const JSONDecoder& value);

/// The name of a type in the interface description: "AppEntity", "[URL]", "SizeInfo?".
template <class Value>
[[nodiscard]] std::string typeName();

/// The description of one record.
struct RecordDescription {
  struct Member {
    std::string name;
    std::string type;  ///< ends in "?" if it may be null
    bool isRequired;   ///< requests must not omit it
  };
  std::string_view name;
  std::vector<Member> members;
  bool omitsAbsent = false;  ///< results omit absent members; otherwise these are null
};

struct EnumerationDescription {
  std::string_view name;
  std::vector<std::string_view> values;
};

[[nodiscard]] std::vector<RecordDescription> describeRecords();
[[nodiscard]] std::vector<EnumerationDescription> describeEnumerations();

}  // namespace quarn
