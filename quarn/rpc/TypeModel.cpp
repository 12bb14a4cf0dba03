#include "quarn/rpc/TypeModel.h"

#include <algorithm>
#include <cctype>

#include "QuarnPlatform/json/JSONLibrary.h"

namespace quarn {

using nlohmann::ordered_json;

namespace {

char capital(char character) { return static_cast<char>(std::toupper(static_cast<unsigned char>(character))); }

}  // namespace

TypeModel::TypeModel(const ordered_json& document) : document_(document) {
  for (const ordered_json& method : document["methods"]) {
    for (const ordered_json& param : method["params"]) {
      if (param.contains("schema")) visit(param["schema"]);
    }
  }
}

const ordered_json& TypeModel::schemas() const { return document_["components"]["schemas"]; }

std::string TypeModel::referenced(const ordered_json& schema) {
  const auto reference = schema["$ref"].get<std::string>();
  return reference.substr(reference.rfind('/') + 1);
}

std::string TypeModel::identifier(std::string_view name) {
  std::string result;
  bool beginsWord = true;
  for (const char character : name) {
    if (character != '.') result += beginsWord ? capital(character) : character;
    beginsWord = character == '.';
  }
  return result;
}

bool TypeModel::isNullable(const ordered_json& schema) {
  if (!schema.contains("anyOf")) return false;
  const ordered_json& types = schema["anyOf"];
  return std::any_of(types.begin(), types.end(), [](const auto& type) { return type.value("type", "") == "null"; });
}

bool TypeModel::isRequired(const ordered_json& record, const std::string& member) {
  if (!record.contains("required")) return false;
  const ordered_json& required = record["required"];
  return std::any_of(required.begin(), required.end(),
                     [&](const auto& name) { return name.template get_ref<const std::string&>() == member; });
}

bool TypeModel::omitsAbsent(const ordered_json& record) { return record.value("x-omitsAbsent", false); }

void TypeModel::visit(const ordered_json& schema) {
  if (schema.contains("$ref")) return visitRecord(referenced(schema));
  if (schema.contains("items")) visit(schema["items"]);
  if (schema.contains("additionalProperties")) visit(schema["additionalProperties"]);
  for (const ordered_json& type : schema.value("anyOf", ordered_json::array())) visit(type);
}

// A record has a form of its own in requests if a member may be omitted, or if a record in it has such a form.
void TypeModel::visitRecord(const std::string& name) {
  const ordered_json& record = schemas()[name];
  if (!record.contains("properties") || !inRequests_.insert(name).second) return;
  bool differs = false;
  for (const auto& [member, schema] : record["properties"].items()) {
    visit(schema);
    differs = differs || !isRequired(record, member);
    const std::string text = schema.dump();
    differs = differs || std::any_of(requestForms_.begin(), requestForms_.end(), [&](const std::string& form) {
                return text.find("/" + form + "\"") != std::string::npos;
              });
  }
  if (differs) requestForms_.insert(name);
}

}  // namespace quarn
