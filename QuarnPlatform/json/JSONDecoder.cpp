#include "QuarnPlatform/json/JSONDecoder.h"

#include <algorithm>
#include <optional>

namespace quarn {
namespace {

std::string message(const std::string& path, std::string_view problem) {
  return path.empty() ? std::string(problem) : path + ": " + std::string(problem);
}

}  // namespace

DecodingError::DecodingError(std::string path, std::string_view problem)
    : std::runtime_error(message(path, problem)), path_(std::move(path)) {}

bool JSONDecoder::isAbsent() const { return !value_ || value_->isNull(); }
bool JSONDecoder::isArray() const { return value_ && value_->isArray(); }

JSONDecoder JSONDecoder::member(std::string_view name) const {
  require(!isAbsent() && value_->isObject(), "an object");
  return {value_->member(name), *this, name, 0};
}

void JSONDecoder::refuseUnknownMembers(std::span<const std::string_view> known) const {
  require(!isAbsent() && value_->isObject(), "an object");
  for (std::size_t i = 0; i < value_->count(); ++i) {
    const std::string_view name = value_->keyAt(i);
    if (std::find(known.begin(), known.end(), name) == known.end()) member(name).fail("unknown");
  }
}

std::size_t JSONDecoder::count() const {
  require(isArray(), "an array");
  return value_->count();
}

JSONDecoder JSONDecoder::element(std::size_t index) const { return {value_->element(index), *this, {}, index}; }

std::string_view JSONDecoder::text() const {
  require(!isAbsent() && value_->isString(), "a string");
  return value_->string();
}

std::int64_t JSONDecoder::integer() const {
  const std::optional<std::int64_t> integer = isAbsent() ? std::nullopt : value_->integer();
  require(integer.has_value(), "an integer of 64 bits");
  return *integer;
}

double JSONDecoder::number() const {
  require(!isAbsent() && value_->isNumber(), "a number");
  return value_->number();
}

bool JSONDecoder::boolean() const {
  require(!isAbsent() && value_->isBoolean(), "a boolean");
  return value_->boolean();
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
