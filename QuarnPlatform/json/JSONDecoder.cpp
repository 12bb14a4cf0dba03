#include "QuarnPlatform/json/JSONDecoder.h"

#include <algorithm>
#include <optional>

#include "QuarnPlatform/json/JSON.h"
#include "QuarnPlatform/json/JSONLibrary.h"

namespace quarn {
namespace {

using nlohmann::json;

std::string message(const std::string& path, std::string_view problem) {
  return path.empty() ? std::string(problem) : path + ": " + std::string(problem);
}

}  // namespace

DecodingError::DecodingError(std::string path, std::string_view problem)
    : std::runtime_error(message(path, problem)), path_(std::move(path)) {}

bool JSONDecoder::isAbsent() const { return value_ == nullptr || value_->is_null(); }
bool JSONDecoder::isArray() const { return value_ != nullptr && value_->is_array(); }

JSONDecoder JSONDecoder::member(std::string_view name) const {
  require(!isAbsent() && value_->is_object(), "an object");
  return {JSON::member(*value_, name), *this, name, 0};
}

void JSONDecoder::refuseUnknownMembers(std::span<const std::string_view> known) const {
  require(!isAbsent() && value_->is_object(), "an object");
  for (const auto& [name, value] : value_->get_ref<const json::object_t&>()) {
    if (std::find(known.begin(), known.end(), name) == known.end()) member(name).fail("unknown");
  }
}

std::size_t JSONDecoder::count() const {
  require(isArray(), "an array");
  return value_->size();
}

JSONDecoder JSONDecoder::element(std::size_t index) const { return {&(*value_)[index], *this, {}, index}; }

const std::string& JSONDecoder::text() const {
  require(!isAbsent() && value_->is_string(), "a string");
  return value_->get_ref<const std::string&>();
}

std::int64_t JSONDecoder::integer() const {
  require(!isAbsent() && value_->is_number(), "an integer");
  const std::optional<std::int64_t> integer = JSON::integer(*value_);
  if (!integer) fail("not an integer of 64 bits");
  return *integer;
}

double JSONDecoder::number() const {
  require(!isAbsent() && value_->is_number(), "a number");
  return value_->get<double>();
}

bool JSONDecoder::boolean() const {
  require(!isAbsent() && value_->is_boolean(), "a boolean");
  return value_->get<bool>();
}

void JSONDecoder::require(bool hasType, std::string_view type) const {
  if (isAbsent()) fail("missing");
  if (!hasType) fail("not " + std::string(type));
}

void JSONDecoder::fail(std::string_view problem) const { throw DecodingError(path(), problem); }

std::string JSONDecoder::path() const {
  if (parent_ == nullptr) return {};
  const std::string parent = parent_->path();
  if (parent_->isArray()) return parent + "[" + std::to_string(index_) + "]";
  return parent.empty() ? std::string(name_) : parent + "." + std::string(name_);
}

}  // namespace quarn
