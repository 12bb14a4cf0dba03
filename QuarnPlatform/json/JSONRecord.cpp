#include "QuarnPlatform/json/JSONRecord.h"

#include <utility>

#include "QuarnPlatform/json/JSON.h"
#include "QuarnPlatform/json/JSONLibrary.h"

namespace quarn {

namespace {

using nlohmann::json;

constexpr std::string_view kNotAString = "not a string";
constexpr std::string_view kNotAnInteger = "not an integer";
constexpr std::string_view kNotANumber = "not a number";
constexpr std::string_view kNotABoolean = "not a boolean";
constexpr std::string_view kNotAStringArray = "not an array of strings";
constexpr std::string_view kNotAnObject = "not an object";
constexpr std::string_view kNotAnArray = "not an array";

/// The member's reading, absent without the member; a member that cannot be read is a problem.
template <typename Read>
auto readMember(const JSONRecord& record, const json* member, std::string_view key, Read read, std::string_view problem)
    -> decltype(read(*member)) {
  if (member == nullptr) return std::nullopt;
  auto value = read(*member);
  if (!value) record.fail(key, problem);
  return value;
}

}  // namespace

JSONRecord::JSONRecord(const json& value, std::string& problem, std::string path)
    : value_(&value), problem_(&problem), path_(std::move(path)) {
  if (!value.is_object()) fail("", kNotAnObject);
}

void JSONRecord::fail(std::string_view key, std::string_view what) const {
  if (!problem_->empty()) return;
  const std::string place = pathOf(key);
  *problem_ = place.empty() ? std::string(what) : place + ": " + std::string(what);
}

std::string JSONRecord::pathOf(std::string_view key) const {
  const bool joins = !path_.empty() && !key.empty();
  return path_ + (joins ? "." : "") + std::string(key);
}

const json* JSONRecord::member(std::string_view key) const {
  const json* found = JSON::member(*value_, key);
  return found == nullptr || found->is_null() ? nullptr : found;
}

const json* JSONRecord::required(std::string_view key) const {
  const json* found = member(key);
  if (found == nullptr) fail(key, "missing");
  return found;
}

std::string JSONRecord::string(std::string_view key) const {
  return readMember(*this, required(key), key, JSON::string, kNotAString).value_or("");
}

std::int64_t JSONRecord::integer(std::string_view key) const {
  return readMember(*this, required(key), key, JSON::integer, kNotAnInteger).value_or(0);
}

double JSONRecord::number(std::string_view key) const {
  return readMember(*this, required(key), key, JSON::number, kNotANumber).value_or(0);
}

bool JSONRecord::boolean(std::string_view key) const {
  return readMember(*this, required(key), key, JSON::boolean, kNotABoolean).value_or(false);
}

std::vector<std::string> JSONRecord::stringArray(std::string_view key) const {
  return readMember(*this, required(key), key, JSON::stringArray, kNotAStringArray)
      .value_or(std::vector<std::string>());
}

JSONRecord JSONRecord::record(std::string_view key) const {
  static const json empty = json::object();
  const json* found = required(key);
  return {found == nullptr ? empty : *found, *problem_, pathOf(key)};
}

std::vector<JSONRecord> JSONRecord::records(std::string_view key) const { return elements(required(key), key); }

std::optional<std::string> JSONRecord::optionalString(std::string_view key) const {
  return readMember(*this, member(key), key, JSON::string, kNotAString);
}

std::optional<std::int64_t> JSONRecord::optionalInteger(std::string_view key) const {
  return readMember(*this, member(key), key, JSON::integer, kNotAnInteger);
}

std::optional<double> JSONRecord::optionalNumber(std::string_view key) const {
  return readMember(*this, member(key), key, JSON::number, kNotANumber);
}

std::optional<bool> JSONRecord::optionalBoolean(std::string_view key) const {
  return readMember(*this, member(key), key, JSON::boolean, kNotABoolean);
}

std::optional<std::vector<std::string>> JSONRecord::optionalStringArray(std::string_view key) const {
  return readMember(*this, member(key), key, JSON::stringArray, kNotAStringArray);
}

std::optional<JSONRecord> JSONRecord::optionalRecord(std::string_view key) const {
  const json* found = member(key);
  return found == nullptr ? std::nullopt : std::optional(JSONRecord(*found, *problem_, pathOf(key)));
}

std::vector<JSONRecord> JSONRecord::optionalRecords(std::string_view key) const { return elements(member(key), key); }

std::vector<JSONRecord> JSONRecord::elements(const json* array, std::string_view key) const {
  std::vector<JSONRecord> records;
  if (array == nullptr) return records;
  if (!array->is_array()) {
    fail(key, kNotAnArray);
    return records;
  }
  records.reserve(array->size());
  for (std::size_t index = 0; index < array->size(); ++index) {
    records.emplace_back((*array)[index], *problem_, pathOf(key) + "[" + std::to_string(index) + "]");
  }
  return records;
}

}  // namespace quarn
