#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/rpc/TypeModel.h"

namespace quarn {
namespace {

using nlohmann::ordered_json;
using Side = TypeModel::Side;

/// Writes the declarations of one document.
class TypeScriptWriter {
 public:
  explicit TypeScriptWriter(const ordered_json& document) : model_(document) {}

  std::string text() {
    const ordered_json& info = model_.document()["info"];
    text_ = "// The interface of `quarn rpc`, version " + info["version"].get<std::string>() +
            ". Written by `quarn rpc --types typescript`.\n\n";
    for (const auto& [name, schema] : model_.schemas().items()) {
      if (schema.contains("enum")) {
        enumeration(name, schema);
      } else {
        record(name, schema);
      }
    }
    methods();
    notifications();
    errors();
    return text_;
  }

 private:
  [[nodiscard]] std::string type(const ordered_json& schema, Side side) const {
    if (schema.contains("$ref")) return reference(TypeModel::referenced(schema), side);
    if (schema.contains("anyOf")) return alternatives(schema["anyOf"], side);
    const std::string plain = schema["type"];
    if (plain == "array") {
      return std::string(side == Side::request ? "ReadonlyArray<" : "Array<") + type(schema["items"], side) + ">";
    }
    if (plain == "object") return map(schema, side);
    return plain == "integer" ? "number" : plain;
  }

  [[nodiscard]] std::string reference(const std::string& name, Side side) const {
    const bool isInput = side == Side::request && model_.hasRequestForm(name);
    return TypeModel::identifier(name) + (isInput ? "Input" : "");
  }

  [[nodiscard]] std::string alternatives(const ordered_json& types, Side side) const {
    std::string text;
    for (const ordered_json& schema : types) text += (text.empty() ? "" : " | ") + type(schema, side);
    return text;
  }

  [[nodiscard]] std::string map(const ordered_json& schema, Side side) const {
    const std::string value = type(schema["additionalProperties"], side);
    if (!schema.contains("propertyNames")) return "Record<string, " + value + ">";
    return "Partial<Record<" + type(schema["propertyNames"], side) + ", " + value + ">>";
  }

  void enumeration(const std::string& name, const ordered_json& schema) {
    text_ += "export type " + TypeModel::identifier(name) + " =";
    for (const ordered_json& value : schema["enum"]) text_ += "\n  | " + value.dump();
    text_ += ";\n\n";
  }

  void record(const std::string& name, const ordered_json& schema) {
    text_ += "export interface " + TypeModel::identifier(name) + " {\n";
    for (const auto& [member, value] : schema["properties"].items()) {
      const bool isOmitted = TypeModel::omitsAbsent(schema) && !TypeModel::isRequired(schema, member);
      text_ += "  " + member + (isOmitted ? "?: " : ": ") + type(isOmitted ? value["anyOf"][0] : value, Side::answer) +
               ";\n";
    }
    text_ += "}\n\n";
    if (!model_.hasRequestForm(name)) return;
    text_ += "/** As a request may give it. */\nexport interface " + TypeModel::identifier(name) + "Input {\n";
    for (const auto& [member, value] : schema["properties"].items()) {
      const bool isRequired = TypeModel::isRequired(schema, member);
      text_ += "  readonly " + member + (isRequired ? ": " : "?: ") + type(value, Side::request) + ";\n";
    }
    text_ += "}\n\n";
  }

  void param(const ordered_json& row) {
    const bool isRequired = row["required"];
    text_ += "      " + row["name"].get<std::string>() + (isRequired ? ": " : "?: ") +
             type(row["schema"], Side::request) + ";\n";
  }

  void methods() {
    text_ += "export interface Methods {\n";
    for (const ordered_json& method : model_.document()["methods"]) {
      text_ +=
          "  /** " + method["summary"].get<std::string>() + ". */\n  " + method["name"].dump() + ": {\n    params: {\n";
      for (const ordered_json& row : method["params"]) {
        param(row.contains("$ref") ? model_.document()["components"]["contentDescriptors"][TypeModel::referenced(row)]
                                   : row);
      }
      const bool reports = method.contains("x-progress");
      text_ += "    };\n    result: " + type(method["result"]["schema"], Side::answer) +
               ";\n    progress: " + (reports ? type(method["x-progress"], Side::answer) : "never") + ";\n  };\n";
    }
    text_ +=
        "}\n\nexport type Params<Name extends keyof Methods> = Methods[Name][\"params\"];\n"
        "export type Result<Name extends keyof Methods> = Methods[Name][\"result\"];\n"
        "export type Progress<Name extends keyof Methods> = Methods[Name][\"progress\"];\n\n";
  }

  void notifications() {
    text_ += "export interface Notifications {\n";
    for (const ordered_json& row : model_.document()["x-notifications"]) {
      const bool isOurs = row["sender"] == "process";
      text_ += "  /** " + row["summary"].get<std::string>() + ". */\n  " + row["name"].dump() + ": {";
      for (const ordered_json& param : row["params"]) {
        text_ += " " + param["name"].get<std::string>() + ": " +
                 type(param["schema"], isOurs ? Side::answer : Side::request) + ";";
      }
      text_ += " };\n";
    }
    text_ += "}\n\n";
  }

  void errors() {
    text_ += "export type ErrorCode =";
    for (const auto& [code, error] : model_.document()["components"]["errors"].items()) {
      text_ += "\n  /** " + error["message"].get<std::string>() + " */\n  | " + code;
    }
    text_ +=
        ";\n\nexport interface ErrorObject {\n  code: ErrorCode;\n  message: string;\n"
        "  data?: { method?: string; param?: string; path?: string; errno?: number; name?: string };\n}\n";
  }

  TypeModel model_;
  std::string text_;
};

}  // namespace

std::string typeScriptTypes(const ordered_json& document) { return TypeScriptWriter(document).text(); }

}  // namespace quarn
