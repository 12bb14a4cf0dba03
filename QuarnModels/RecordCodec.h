#pragma once

#include <concepts>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "QuarnModels/Date.h"
#include "QuarnModels/RawValue.h"
#include "QuarnPlatform/base/Required.h"
#include "QuarnPlatform/json/JSONDecoder.h"
#include "QuarnPlatform/json/JSONSink.h"
#include "QuarnPlatform/json/JSONTree.h"
#include "QuarnPlatform/paths/FileURL.h"
#include "QuarnPlatform/text/Text.h"

/// Encodes records as JSON and decodes them, for resource files and messages. Each record has one table,
/// `Fields<Record>`, with one row per member in output order; `Codec<Record>` encodes, decodes and names the record
/// from that table. This header includes the whole JSON library: include it only in sources and in other headers of
/// this kind.
namespace quarn::wire {

/// The accepted values of a member: all values of its type, or only counts of 0 or more.
enum class Range : std::uint8_t { all, counts };

/// A member that is a field of the record.
template <class Record, class Value>
struct Member {
  std::string_view name;
  Value Record::*field;
  Value (*make)(const Record&);  ///< computes an omitted value from the other members; null: required
  Range range;
};

/// A member that is only encoded: a text computed from the record.
template <class Record>
struct Computed {
  std::string_view name;
  std::string (*text)(const Record&);
};

template <class Record, class Value>
constexpr Member<Record, Value> member(std::string_view name, Value Record::*field) {
  return {name, field, nullptr, Range::all};
}

template <class Record, class Value>
constexpr Member<Record, Value> made(std::string_view name, Value Record::*field, Value (*make)(const Record&)) {
  return {name, field, make, Range::all};
}

template <class Record>
constexpr Member<Record, std::int64_t> bytes(std::string_view name, std::int64_t Record::*field) {
  return {name, field, nullptr, Range::counts};
}

/// The name and members of a record; specialised for each record. Optional members of the specialisation:
/// `kRefusesUnknownMembers`: decoding refuses unknown members. Without it, decoding ignores them.
/// `kOmitsAbsentMembers`: encoding omits absent values. Without it, they are written as null.
/// `defaults()`: a record; decoding takes omitted members from it. Without it, members are required.
template <class Record>
struct Fields;

/// The name of an enumeration in descriptions; specialised for the enumerations that are described.
template <class Enumeration>
constexpr std::string_view kEnumerationName;

/// Encodes, decodes and names the values of one type.
template <class Value>
struct Codec;

template <>
struct Codec<bool> {
  static std::string name() { return "boolean"; }
  static void encode(JSONSink& sink, bool value) { sink.boolean(value); }
  static bool decode(const JSONDecoder& value) { return value.boolean(); }
};

// `long` too: a type of the same size that is `std::int64_t` on one system and another type on the next.
template <class Integer>
requires(std::same_as<Integer, std::int64_t> || std::same_as<Integer, long>) struct Codec<Integer> {
  static_assert(sizeof(Integer) == sizeof(std::int64_t));
  static std::string name() { return "integer"; }
  static void encode(JSONSink& sink, Integer value) { sink.integer(value); }
  static Integer decode(const JSONDecoder& value) { return value.integer(); }
};

template <>
struct Codec<double> {
  static std::string name() { return "number"; }
  static void encode(JSONSink& sink, double value) { sink.real(value); }
  static double decode(const JSONDecoder& value) { return value.number(); }
};

template <>
struct Codec<std::string> {
  static std::string name() { return "string"; }
  static void encode(JSONSink& sink, std::string_view value) { sink.string(value); }
  static std::string decode(const JSONDecoder& value) { return std::string(value.text()); }
};

template <>
struct Codec<FileURL> {
  static std::string name() { return "URL"; }
  static void encode(JSONSink& sink, const FileURL& value) { sink.string(value.string()); }
  static FileURL decode(const JSONDecoder& value) {
    std::optional<FileURL> url = FileURL::parse(value.text());
    if (!url) value.fail("not a file URL or an absolute path");
    return *std::move(url);
  }
};

template <>
struct Codec<Date> {
  static std::string name() { return "date"; }
  static void encode(JSONSink& sink, Date value) { sink.string(toISO8601(value)); }
  static Date decode(const JSONDecoder& value) {
    const std::optional<Date> date = dateFromISO8601(value.text());
    if (!date) value.fail("not a date of the form 2026-11-20T21:23:05Z");
    return *date;
  }
};

template <class Enumeration>
requires std::is_enum_v<Enumeration>
struct Codec<Enumeration> {
  static std::string name() { return std::string(kEnumerationName<Enumeration>); }
  static void encode(JSONSink& sink, Enumeration value) { sink.string(rawValue(value)); }
  static Enumeration decode(const JSONDecoder& value) {
    const std::optional<Enumeration> known = fromRawValue<Enumeration>(value.text());
    if (!known) value.fail("not one of " + choices());
    return *known;
  }
  static std::string choices() {
    std::string list;
    for (const std::string_view choice : RawValues<Enumeration>::kStrings) {
      if (!list.empty()) list += ", ";
      list += choice;
    }
    return list;
  }
};

template <class Element>
struct Codec<std::vector<Element>> {
  static std::string name() { return "[" + Codec<Element>::name() + "]"; }
  static void encode(JSONSink& sink, const std::vector<Element>& value) {
    sink.beginArray();
    for (const Element& element : value) Codec<Element>::encode(sink, element);
    sink.endArray();
  }
  static std::vector<Element> decode(const JSONDecoder& value) {
    std::vector<Element> elements;
    elements.reserve(value.count());
    for (std::size_t index = 0; index < value.count(); ++index) {
      elements.push_back(Codec<Element>::decode(value.element(index)));
    }
    return elements;
  }
};

template <class Value>
struct Codec<Required<Value>> {
  static std::string name() { return Codec<Value>::name(); }
  static void encode(JSONSink& sink, const Value& value) { Codec<Value>::encode(sink, value); }
  static Value decode(const JSONDecoder& value) { return Codec<Value>::decode(value); }
};

template <class Value>
struct Codec<std::optional<Value>> {
  static std::string name() { return Codec<Value>::name() + "?"; }
  static void encode(JSONSink& sink, const std::optional<Value>& value) {
    value ? Codec<Value>::encode(sink, *value) : sink.null();
  }
  static std::optional<Value> decode(const JSONDecoder& value) {
    return value.isAbsent() ? std::nullopt : std::optional(Codec<Value>::decode(value));
  }
};

template <class Value, class Less>
struct Codec<std::map<std::string, Value, Less>> {
  static std::string name() { return "{string: " + Codec<Value>::name() + "}"; }
  static void encode(JSONSink& sink, const std::map<std::string, Value, Less>& value) {
    // Keys that differ only in invalid bytes become equal. Keep the first, because an object must not repeat a key.
    std::map<std::string, const Value*> readable;
    for (const auto& [key, item] : value) readable.emplace(Text::validUTF8(key), &item);
    sink.beginObject();
    for (const auto& [key, item] : readable) {
      sink.key(key);
      Codec<Value>::encode(sink, *item);
    }
    sink.endObject();
  }
};

template <class Value>
constexpr bool kIsOptional = false;
template <class Value>
constexpr bool kIsOptional<std::optional<Value>> = true;

template <class Record>
concept OmitsAbsentMembers = requires {
  Fields<Record>::kOmitsAbsentMembers;
};

template <class Record, class Value>
void encodeMember(JSONSink& sink, const Record& record, const Member<Record, Value>& member) {
  if constexpr (OmitsAbsentMembers<Record> && kIsOptional<Value>) {
    if (!(record.*member.field)) return;
  }
  sink.key(member.name);
  Codec<Value>::encode(sink, record.*member.field);
}

template <class Record>
void encodeMember(JSONSink& sink, const Record& record, const Computed<Record>& member) {
  sink.key(member.name);
  sink.string(member.text(record));
}

template <class Record, class Value>
void decodeMember(const JSONDecoder& object, Record& record, const Member<Record, Value>& member) {
  const JSONDecoder value = object.member(member.name);
  if (member.make != nullptr && value.isAbsent()) return;
  record.*member.field = Codec<Value>::decode(value);
  if constexpr (std::same_as<Value, std::int64_t> || std::same_as<Value, long>) {
    if (member.range == Range::counts && record.*member.field < 0) value.fail("negative");
  }
}

template <class Record>
void decodeMember(const JSONDecoder& /*object*/, Record& /*record*/, const Computed<Record>& /*member*/) {}

template <class Record, class Value>
Value decodedField(const JSONDecoder& object, const Member<Record, Value>& member) {
  return Codec<Value>::decode(object.member(member.name));
}

/// Computes a member that the request omitted. Runs after the other members are decoded.
template <class Record, class Value>
void makeMember(const JSONDecoder& object, Record& record, const Member<Record, Value>& member) {
  if (member.make != nullptr && object.member(member.name).isAbsent()) record.*member.field = member.make(record);
}

template <class Record>
void makeMember(const JSONDecoder& /*object*/, Record& /*record*/, const Computed<Record>& /*member*/) {}

template <class Record>
concept DescribedByFields = requires {
  Fields<Record>::kMembers;
};

template <class Record>
concept RefusesUnknownMembers = requires {
  Fields<Record>::kRefusesUnknownMembers;
};

template <class Record>
concept HasDefaults = requires {
  Fields<Record>::defaults();
};

template <class Record, class Value>
void decodeIfPresent(const JSONDecoder& object, Record& record, const Member<Record, Value>& member) {
  const JSONDecoder value = object.member(member.name);
  if (!value.isAbsent()) record.*member.field = Codec<Value>::decode(value);
}

template <DescribedByFields Record>
struct Codec<Record> {
  static std::string name() { return std::string(Fields<Record>::kName); }

  static void encode(JSONSink& sink, const Record& record) {
    sink.beginObject();
    std::apply([&](const auto&... members) { (encodeMember(sink, record, members), ...); }, Fields<Record>::kMembers);
    sink.endObject();
  }

  static Record decode(const JSONDecoder& value) {
    if constexpr (RefusesUnknownMembers<Record>) value.refuseUnknownMembers(names());
    const auto& members = Fields<Record>::kMembers;
    if constexpr (HasDefaults<Record>) {
      Record record = Fields<Record>::defaults();
      std::apply([&](const auto&... member) { (decodeIfPresent(value, record, member), ...); }, members);
      return record;
    } else if constexpr (std::is_default_constructible_v<Record>) {
      Record record{};
      std::apply([&](const auto&... member) { (decodeMember(value, record, member), ...); }, members);
      std::apply([&](const auto&... member) { (makeMember(value, record, member), ...); }, members);
      return record;
    } else {  // every field is required; the table lists them in the order of the record
      return std::apply([&](const auto&... member) { return Record{decodedField(value, member)...}; }, members);
    }
  }

  static std::vector<std::string_view> names() {
    return std::apply([](const auto&... members) { return std::vector{members.name...}; }, Fields<Record>::kMembers);
  }
};

/// A record as a tree of the library.
template <class Value>
nlohmann::ordered_json treeOf(const Value& value) {
  JSONTree tree;
  Codec<Value>::encode(tree, value);
  return tree.take();
}

}  // namespace quarn::wire
