#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "QuarnPlatform/json/JSONDocument.h"
#include "QuarnPlatform/json/JSONLibrary.h"

namespace quarn {

/// A value as a tree of the library, for comparisons. Of repeated keys the first counts.
inline nlohmann::json libraryTree(const JSONValue& value) {
  using nlohmann::json;
  switch (value.type()) {
    case JSONValue::Type::null: return json();
    case JSONValue::Type::boolean: return json(value.boolean());
    case JSONValue::Type::integer:
    case JSONValue::Type::unsignedInteger: return json::parse(value.text());
    case JSONValue::Type::real: return json(value.number());
    case JSONValue::Type::string: return json(std::string(value.string()));
    case JSONValue::Type::array: {
      json array = json::array();
      for (std::size_t i = 0; i < value.count(); ++i) array.push_back(libraryTree(value.element(i)));
      return array;
    }
    case JSONValue::Type::object: break;
  }
  json object = json::object();
  for (std::size_t i = 0; i < value.count(); ++i) {
    object.emplace(std::string(value.keyAt(i)), libraryTree(value.memberAt(i)));
  }
  return object;
}

/// Parses a text as `JSONDocument::parse` does.
inline std::optional<nlohmann::json> parseJSON(std::string_view text, std::string* problem = nullptr) {
  const std::optional<JSONDocument> document = JSONDocument::parse(text, problem);
  return document ? std::optional(libraryTree(document->root())) : std::nullopt;
}

inline JSONDocument documentOf(const nlohmann::json& value) { return *JSONDocument::parse(value.dump()); }

}  // namespace quarn
