#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/rpc/TypeModel.h"

namespace quarn {
namespace {

using nlohmann::ordered_json;
using Side = TypeModel::Side;

constexpr std::string_view kPythonHead = R"(
from __future__ import annotations

from collections.abc import Mapping, Sequence
from dataclasses import dataclass, field
from typing import Any, Final, Generic, Literal, Never, NotRequired, TypeAlias, TypedDict, TypeVar

P = TypeVar("P", bound=Mapping[str, Any])
R = TypeVar("R")
V = TypeVar("V")


@dataclass(frozen=True)
class Request(Generic[R, V]):
    """A request: its result has the type R, its progress values have the type V."""

    method: str
    params: Mapping[str, Any] = field(default_factory=dict)


@dataclass(frozen=True)
class Method(Generic[P, R, V]):
    """A method. Calling it with its params makes a request."""

    name: str

    def __call__(self, params: P) -> Request[R, V]:
        return Request(self.name, params)


@dataclass(frozen=True)
class MethodWithDefaults(Generic[P, R, V]):
    """A method that needs no params."""

    name: str

    def __call__(self, params: P | None = None) -> Request[R, V]:
        return Request(self.name) if params is None else Request(self.name, params)

)";

// Names that a class of Python cannot have as members.
constexpr std::array<std::string_view, 8> kPythonKeywords{"in", "is", "from", "class", "def", "import", "for", "as"};

bool isKeyword(std::string_view name) {
  return std::find(kPythonKeywords.begin(), kPythonKeywords.end(), name) != kPythonKeywords.end();
}

/// One member of a dictionary.
struct PythonMember {
  std::string name;
  std::string type;
  bool isRequired = true;
};

/// Writes the module of one document.
class PythonWriter {
 public:
  explicit PythonWriter(const ordered_json& document) : model_(document) {}

  std::string text() {
    const std::string version = model_.document()["info"]["version"];
    text_ = "\"\"\"The interface of `quarn rpc`, version " + version +
            ". Written by `quarn rpc --types python`.\"\"\"\n" + std::string(kPythonHead) +
            "\nPROTOCOL_VERSION: Final = " + version.substr(0, version.find('.')) + "\n";
    for (const auto& [name, schema] : model_.schemas().items()) {
      if (schema.contains("enum")) {
        enumeration(name, schema);
      } else {
        record(name, schema);
      }
    }
    const ordered_json& methods = model_.document()["methods"];
    for (const ordered_json& method : methods) params(method);
    text_ += "\n\nclass methods:\n    \"\"\"Every method, by its name.\"\"\"\n";
    constants(methods);
    return text_;
  }

 private:
  [[nodiscard]] std::string type(const ordered_json& schema, Side side) const {
    if (schema.contains("$ref")) return reference(TypeModel::referenced(schema), side);
    if (schema.contains("anyOf")) {
      std::string text;
      for (const ordered_json& part : schema["anyOf"]) text += (text.empty() ? "" : " | ") + type(part, side);
      return text;
    }
    const std::string plain = schema["type"];
    if (plain == "array") return (side == Side::request ? "Sequence[" : "list[") + type(schema["items"], side) + "]";
    if (plain == "object") {
      const std::string key = schema.contains("propertyNames") ? type(schema["propertyNames"], side) : "str";
      return "dict[" + key + ", " + type(schema["additionalProperties"], side) + "]";
    }
    if (plain == "integer") return "int";
    if (plain == "number") return "float";
    if (plain == "boolean") return "bool";
    return plain == "null" ? "None" : "str";
  }

  [[nodiscard]] std::string reference(const std::string& name, Side side) const {
    const bool isLike = side == Side::request && model_.hasRequestForm(name);
    return TypeModel::identifier(name) + (isLike ? "Like" : "");
  }

  void enumeration(const std::string& name, const ordered_json& schema) {
    text_ += "\n" + TypeModel::identifier(name) + ": TypeAlias = Literal[\n";
    for (const ordered_json& value : schema["enum"]) text_ += "    " + value.dump() + ",\n";
    text_ += "]\n";
  }

  // A class, or the form for names that a class cannot have.
  void dictionary(const std::string& name, const std::string& comment, const std::vector<PythonMember>& members) {
    const bool needsCall =
        std::any_of(members.begin(), members.end(), [](const auto& row) { return isKeyword(row.name); });
    text_ += needsCall ? "\n" + name + " = TypedDict(\n    \"" + name + "\",\n    {\n"
                       : "\n\nclass " + name + "(TypedDict):\n    \"\"\"" + comment + "\"\"\"\n\n";
    for (const PythonMember& row : members) {
      const std::string type = row.isRequired ? row.type : "NotRequired[" + row.type + "]";
      text_ += needsCall ? "        \"" + row.name + "\": \"" + type + "\",\n" : "    " + row.name + ": " + type + "\n";
    }
    if (needsCall) text_ += "    },\n)\n";
  }

  void record(const std::string& name, const ordered_json& schema) {
    std::vector<PythonMember> answered;
    std::vector<PythonMember> requested;
    for (const auto& [member, value] : schema["properties"].items()) {
      const bool isRequired = TypeModel::isRequired(schema, member);
      const bool isOmitted = TypeModel::omitsAbsent(schema) && !isRequired;
      answered.push_back({member, type(isOmitted ? value["anyOf"][0] : value, Side::answer), !isOmitted});
      requested.push_back({member, type(value, Side::request), isRequired});
    }
    const std::string identifier = TypeModel::identifier(name);
    dictionary(identifier, name, answered);
    if (!model_.hasRequestForm(name)) return;
    dictionary(identifier + "Input", name + " as a request may give it", requested);
    text_ += "\n\n" + identifier + "Like: TypeAlias = " + identifier + " | " + identifier + "Input\n";
  }

  [[nodiscard]] static std::string paramsName(const ordered_json& method) {
    return TypeModel::identifier(method["name"].get<std::string>()) + "Params";
  }

  void params(const ordered_json& method) {
    std::vector<PythonMember> members;
    for (const ordered_json& given : method["params"]) {
      const ordered_json& row =
          given.contains("$ref") ? model_.document()["components"]["contentDescriptors"][TypeModel::referenced(given)]
                                 : given;
      members.push_back({row["name"], type(row["schema"], Side::request), row["required"].get<bool>()});
    }
    dictionary(paramsName(method), "Params of " + method["name"].get<std::string>(), members);
  }

  static std::string serviceOf(const ordered_json& method) {
    const std::string name = method["name"];
    const std::size_t dot = name.find('.');
    return dot == std::string::npos ? "" : name.substr(0, dot);
  }

  // The methods of one service are members of a class.
  void constants(const ordered_json& methods) {
    std::vector<std::string> services;
    for (const ordered_json& method : methods) {
      if (std::find(services.begin(), services.end(), serviceOf(method)) == services.end())
        services.push_back(serviceOf(method));
    }
    for (const std::string& service : services) {
      text_ += service.empty() ? "\n" : "\n    class " + service + ":\n";
      for (const ordered_json& method : methods) {
        if (serviceOf(method) == service) constant(method, std::string(service.empty() ? 4 : 8, ' '));
      }
    }
  }

  void constant(const ordered_json& method, const std::string& indent) {
    const std::string name = method["name"];
    const ordered_json& rows = method["params"];
    const bool needsParams =
        std::any_of(rows.begin(), rows.end(), [](const ordered_json& row) { return row.value("required", false); });
    const std::string progress = method.contains("x-progress") ? type(method["x-progress"], Side::answer) : "Never";
    const std::string kind = needsParams ? "Method" : "MethodWithDefaults";
    text_ += indent + name.substr(name.find('.') + 1) + ": Final[" + kind + "[" + paramsName(method) + ", " +
             type(method["result"]["schema"], Side::answer) + ", " + progress + "]] = " + kind + "(\"" + name +
             "\")\n" + indent + "\"\"\"" + method["summary"].get<std::string>() + ".\"\"\"\n";
  }

  TypeModel model_;
  std::string text_;
};

}  // namespace

std::string pythonTypes(const ordered_json& document) { return PythonWriter(document).text(); }

}  // namespace quarn
