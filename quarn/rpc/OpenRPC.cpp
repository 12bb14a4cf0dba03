#include <algorithm>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/rpc/Methods.h"
#include "quarn/rpc/Notifications.h"
#include "quarn/rpc/RPCError.h"
#include "quarn/rpc/Server.h"
#include "quarn/rpc/Unread.h"
#include "quarn/services/Version.h"
#include "quarn/wire/RecordJSON.h"

namespace quarn {
namespace {

using nlohmann::ordered_json;

struct PlainType {
  std::string_view name;
  std::string_view type;
  std::string_view format;  ///< empty for none
};

constexpr auto kPlainTypes = std::to_array<PlainType>({
    {"string", "string", ""},
    {"integer", "integer", ""},
    {"number", "number", ""},
    {"boolean", "boolean", ""},
    {"URL", "string", "uri"},
    {"date", "string", "date-time"},
    {"null", "null", ""},
    {"None", "null", ""},
});

ordered_json schemaOf(std::string_view type);

ordered_json reference(std::string_view name) { return {{"$ref", "#/components/schemas/" + std::string(name)}}; }

ordered_json alternatives(std::string_view type) {
  constexpr std::string_view kOr = " or ";
  ordered_json list = ordered_json::array();
  for (std::size_t end = type.find(kOr); end != std::string_view::npos; end = type.find(kOr)) {
    list.push_back(schemaOf(type.substr(0, end)));
    type.remove_prefix(end + kOr.size());
  }
  list.push_back(schemaOf(type));
  return {{"anyOf", std::move(list)}};
}

ordered_json mapSchema(std::string_view key, std::string_view value) {
  ordered_json schema = {{"type", "object"}};
  if (key != "string") schema["propertyNames"] = schemaOf(key);
  schema["additionalProperties"] = schemaOf(value);
  return schema;
}

// The JSON Schema of a type as `typeName` writes it: "[Artifact]", "{string: SizeInfo}", "URL or [URL]", "string?".
ordered_json schemaOf(std::string_view type) {
  if (type.find(" or ") != std::string_view::npos) return alternatives(type);
  if (type.ends_with('?')) {
    type.remove_suffix(1);
    return {{"anyOf", ordered_json::array({schemaOf(type), {{"type", "null"}}})}};
  }
  if (type.starts_with('[')) return {{"type", "array"}, {"items", schemaOf(type.substr(1, type.size() - 2))}};
  if (type.starts_with('{')) {
    const std::size_t colon = type.find(": ");
    return mapSchema(type.substr(1, colon - 1), type.substr(colon + 2, type.size() - colon - 3));
  }
  const auto* plain =
      std::find_if(kPlainTypes.begin(), kPlainTypes.end(), [&](const auto& row) { return row.name == type; });
  if (plain == kPlainTypes.end()) return reference(type);
  ordered_json schema = {{"type", plain->type}};
  if (!plain->format.empty()) schema["format"] = plain->format;
  return schema;
}

ordered_json schemaOf(const RecordDescription& record) {
  ordered_json properties = ordered_json::object();
  ordered_json required = ordered_json::array();
  for (const RecordDescription::Member& member : record.members) {
    properties[member.name] = schemaOf(member.type);
    if (member.isRequired) required.push_back(member.name);
  }
  ordered_json schema = {{"type", "object"}, {"properties", std::move(properties)}};
  if (!required.empty()) schema["required"] = std::move(required);
  if (record.omitsAbsent) schema["x-omitsAbsent"] = true;
  return schema;
}

ordered_json schemas() {
  ordered_json all = ordered_json::object();
  for (const RecordDescription& record : interfaceRecords()) all[std::string(record.name)] = schemaOf(record);
  for (const EnumerationDescription& enumeration : interfaceEnumerations()) {
    all[std::string(enumeration.name)] = {{"type", "string"}, {"enum", enumeration.values}};
  }
  return all;
}

ordered_json errorsOfMethods() {
  ordered_json list = ordered_json::array();
  for (const RPCErrorDescription& error : kRPCErrors) {
    list.push_back({{"$ref", "#/components/errors/" + std::to_string(static_cast<int>(error.code))}});
  }
  return list;
}

ordered_json errors() {
  ordered_json all = ordered_json::object();
  for (const RPCErrorDescription& error : kRPCErrors) {
    ordered_json members = ordered_json::array();
    for (const std::string_view name : error.data) {
      if (!name.empty()) members.push_back(name);
    }
    ordered_json value = {{"code", static_cast<int>(error.code)}, {"message", error.when}};
    if (!members.empty()) value["data"] = {{"members", std::move(members)}};
    all[std::to_string(static_cast<int>(error.code))] = std::move(value);
  }
  return all;
}

ordered_json paramOf(const ParamRow& row) {
  std::string type = row.type();
  const bool isRequired = !type.ends_with('?');
  return {{"name", row.name}, {"required", isRequired}, {"schema", schemaOf(type)}};
}

ordered_json methodOf(const MethodRow& row) {
  ordered_json params = ordered_json::array();
  for (const ParamRow& param : row.params()) params.push_back(paramOf(param));
  params.push_back({{"$ref", "#/components/contentDescriptors/" + std::string(kReportUnreadParam.name)}});
  ordered_json method = {{"name", row.name},
                         {"summary", summaryOfMethod(row.name)},
                         {"paramStructure", "by-name"},
                         {"params", std::move(params)},
                         {"result", {{"name", "result"}, {"schema", schemaOf(row.resultType())}}},
                         {"errors", errorsOfMethods()}};
  if (row.progressType != nullptr) method["x-progress"] = schemaOf(row.progressType());
  if (!isQuickMethod(row.name)) method["x-walksFolders"] = true;
  return method;
}

ordered_json notificationOf(const NotificationRow& row) {
  ordered_json params = ordered_json::array();
  for (const NotificationRow::Param& param : row.params) {
    if (!param.name.empty())
      params.push_back({{"name", param.name}, {"required", true}, {"schema", schemaOf(param.type)}});
  }
  return {{"name", row.name}, {"sender", row.sender}, {"summary", row.meaning}, {"params", std::move(params)}};
}

template <class Rows, class Make>
ordered_json listOf(const Rows& rows, Make make) {
  ordered_json list = ordered_json::array();
  for (const auto& row : rows) list.push_back(make(row));
  return list;
}

}  // namespace

ordered_json openRPCDocument() {
  return {{"openrpc", "1.3.2"},
          {"info",
           {{"title", "QuarnCore"},
            {"description", "What an app has left on a Mac's disk, and where the disk's space goes. Deletes nothing."},
            {"version", std::to_string(kProtocolVersion) + ".0.0"},
            {"license", {{"name", "Apache-2.0"}}},
            {"x-programVersion", kVersion}}},
          {"methods", listOf(methodTable(), methodOf)},
          {"components",
           {{"contentDescriptors", {{std::string(kReportUnreadParam.name), paramOf(kReportUnreadParam)}}},
            {"schemas", schemas()},
            {"errors", errors()}}},
          {"x-notifications", listOf(kNotifications, notificationOf)}};
}

}  // namespace quarn
