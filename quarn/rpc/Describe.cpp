
#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/rpc/Methods.h"
#include "quarn/rpc/Notifications.h"
#include "quarn/rpc/RPCError.h"
#include "quarn/rpc/Server.h"
#include "quarn/rpc/Unread.h"
#include "quarn/wire/RecordJSON.h"

namespace quarn {
namespace {

using nlohmann::ordered_json;

template <class Rows, class Describe>
ordered_json described(const Rows& rows, Describe describe) {
  ordered_json list = ordered_json::array();
  for (const auto& row : rows) list.push_back(describe(row));
  return list;
}

ordered_json describe(const ParamRow& param) {
  std::string type = param.type();
  const bool isRequired = !type.ends_with('?');
  if (!isRequired) type.pop_back();
  return {{"name", param.name}, {"type", type}, {"required", isRequired}};
}

ordered_json describe(const MethodRow& row) {
  ordered_json method = {{"name", row.name},
                         {"params", described(row.params(), [](const ParamRow& param) { return describe(param); })},
                         {"result", row.resultType()}};
  if (row.progressType != nullptr) method["progress"] = row.progressType();
  return method;
}

ordered_json describe(const RecordDescription& record) {
  const auto member = [](const RecordDescription::Member& row) -> ordered_json {
    return {{"name", row.name}, {"type", row.type}, {"required", row.isRequired}};
  };
  return {{"name", record.name}, {"members", described(record.members, member)}};
}

ordered_json describe(const EnumerationDescription& enumeration) {
  return {{"name", enumeration.name}, {"values", enumeration.values}};
}

ordered_json describe(const RPCErrorDescription& error) {
  ordered_json data = ordered_json::array();
  for (const std::string_view name : error.data) {
    if (!name.empty()) data.push_back(name);
  }
  return {{"code", static_cast<int>(error.code)}, {"when", error.when}, {"data", data}};
}

ordered_json describe(const NotificationRow& notification) {
  ordered_json params = ordered_json::array();
  for (const NotificationRow::Param& param : notification.params) {
    if (!param.name.empty()) params.push_back({{"name", param.name}, {"type", param.type}, {"required", true}});
  }
  return {{"name", notification.name},
          {"sender", notification.sender},
          {"params", std::move(params)},
          {"meaning", notification.meaning}};
}

}  // namespace

std::string describeInterface() {
  const auto row = [](const auto& any) { return describe(any); };
  const ordered_json interface = {{"jsonrpc", "2.0"},
                                  {"protocolVersion", kProtocolVersion},
                                  {"commonParams", ordered_json::array({describe(kReportUnreadParam)})},
                                  {"methods", described(methodTable(), row)},
                                  {"notifications", described(kNotifications, row)},
                                  {"records", described(interfaceRecords(), row)},
                                  {"enumerations", described(interfaceEnumerations(), row)},
                                  {"errors", described(kRPCErrors, row)}};
  return interface.dump(2);
}

}  // namespace quarn
