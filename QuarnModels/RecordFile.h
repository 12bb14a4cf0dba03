#pragma once

#include <bitset>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "QuarnModels/RecordCodec.h"
#include "QuarnPlatform/json/JSONDocument.h"
#include "QuarnPlatform/json/PlainJSONCursor.h"

/// Decodes resource files that hold one record. Usual files are read in one pass, straight into the record, from the
/// same tables as messages. `Codec` judges every other file, and finds the words for its error. Include only in
/// sources.
namespace quarn::wire {

/// Reads one value of a file in one pass. False to give up: the value is wrong, or it is unusual.
template <class Value>
struct Reader;

template <>
struct Reader<std::string> {
  static bool read(PlainJSONCursor& cursor, std::string& value) {
    std::string_view text;
    if (!cursor.string(text)) return false;
    value = text;
    return true;
  }
};

template <>
struct Reader<std::int64_t> {
  static bool read(PlainJSONCursor& cursor, std::int64_t& value) {
    PlainJSONCursor::Number number;
    if (!cursor.number(number) || number.type != JSONValue::Type::unsignedInteger) return false;
    value = static_cast<std::int64_t>(number.unsignedInteger);
    return std::in_range<std::int64_t>(number.unsignedInteger);
  }
};

template <>
struct Reader<double> {
  static bool read(PlainJSONCursor& cursor, double& value) {
    PlainJSONCursor::Number number;
    if (!cursor.number(number) || number.type == JSONValue::Type::integer) return false;
    value = number.type == JSONValue::Type::real ? number.real : static_cast<double>(number.unsignedInteger);
    return true;
  }
};

template <class Enumeration>
requires std::is_enum_v<Enumeration>
struct Reader<Enumeration> {
  static bool read(PlainJSONCursor& cursor, Enumeration& value) {
    std::string_view text;
    const std::optional<Enumeration> known = cursor.string(text) ? fromRawValue<Enumeration>(text) : std::nullopt;
    if (known) value = *known;
    return known.has_value();
  }
};

template <class Element>
struct Reader<std::vector<Element>> {
  static bool read(PlainJSONCursor& cursor, std::vector<Element>& value) {
    return cursor.array([&] { return Reader<Element>::read(cursor, value.emplace_back()); });
  }
};

template <class Value>
struct Reader<std::optional<Value>> {
  static bool read(PlainJSONCursor& cursor, std::optional<Value>& value) {
    return cursor.next() == 'n' ? cursor.word("null") : Reader<Value>::read(cursor, value.emplace());
  }
};

/// True for a member that has no rules but its type.
template <class Record, class Value>
constexpr bool isSimple(const Member<Record, Value>& member) {
  return member.make == nullptr && member.range == Range::all;
}

template <DescribedByFields Record>
struct Reader<Record> {
  static constexpr auto& kMembers = Fields<Record>::kMembers;
  static constexpr std::size_t kCount = std::tuple_size_v<std::remove_cvref_t<decltype(kMembers)>>;
  using Seen = std::bitset<kCount>;
  static_assert(!RefusesUnknownMembers<Record> && !HasDefaults<Record>);
  static_assert(std::apply([](const auto&... members) { return (isSimple(members) && ...); }, kMembers));

  static bool read(PlainJSONCursor& cursor, Record& record) {
    Seen seen;
    const bool isRead = cursor.object([&](std::string_view key) { return readMember(cursor, key, record, seen); });
    return isRead && isComplete(seen, std::make_index_sequence<kCount>());
  }

 private:
  // Of equal keys the first one counts. That is so rare that it is left to the codec.
  static bool readMember(PlainJSONCursor& cursor, std::string_view key, Record& record, Seen& seen) {
    bool isRead = false;
    std::size_t index = 0;
    const auto tryOne = [&](const auto& member) {
      if (member.name != key) return ++index, false;
      isRead = !seen[index] &&
               Reader<std::remove_cvref_t<decltype(record.*member.field)>>::read(cursor, record.*member.field);
      seen.set(index);
      return true;
    };
    const bool isKnown = std::apply([&](const auto&... members) { return (tryOne(members) || ...); }, kMembers);
    return isKnown ? isRead : cursor.skip();
  }

  template <std::size_t... kIndices>
  static bool isComplete(const Seen& seen, std::index_sequence<kIndices...> /*indices*/) {
    return ((seen[kIndices] || isOptional(std::get<kIndices>(kMembers))) && ...);
  }

  template <class Value>
  static constexpr bool isOptional(const Member<Record, Value>& /*member*/) {
    return kIsOptional<Value>;
  }
};

/// The record of a usual file; absent if the file is wrong or unusual.
template <class Record>
std::optional<Record> readUsualFile(std::string_view text) {
  std::optional<Record> record(std::in_place);
  PlainJSONCursor cursor(text);
  const bool isRead = text.size() <= kMaximumJSONBytes && Reader<Record>::read(cursor, *record) && cursor.isAtEnd();
  return isRead ? std::move(record) : std::nullopt;
}

/// The record of any file, by way of a document. Absent if the text is not strict JSON or a member is missing or wrong;
/// then stores the error in `problem`, for example "artifacts[2].kind: not one of …".
template <class Record>
std::optional<Record> decodeByDocument(std::string_view text, std::string& problem) {
  if (const std::optional<JSONDocument> document = JSONDocument::parse(text, &problem)) {
    try {
      return Codec<Record>::decode(JSONDecoder(document->root()));
    } catch (const DecodingError& error) {
      problem = error.what();
    }
  }
  return std::nullopt;
}

/// The same, in one pass if the file is a usual one. `problem` may be null.
template <class Record>
std::optional<Record> decodeFile(std::string_view text, std::string* problem) {
  if (std::optional<Record> record = readUsualFile<Record>(text)) return record;
  std::string found;
  std::optional<Record> record = decodeByDocument<Record>(text, found);
  if (!record && problem != nullptr) *problem = found;
  return record;
}

}  // namespace quarn::wire
