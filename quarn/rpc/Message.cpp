#include "quarn/rpc/Message.h"

#include <utility>

#include "QuarnPlatform/json/JSON.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/rpc/Notifications.h"

namespace quarn {
namespace {

using nlohmann::json;

constexpr std::string_view kVersion = "2.0";

bool isID(const json& value) { return value.is_string() || value.is_number() || value.is_null(); }

bool isText(const json* value) { return value != nullptr && value->is_string(); }

/// The defect in the form of a call; empty for a valid request or notification.
std::string problemWith(const json& call) {
  if (!call.is_object()) return "a request must be an object";
  const json* version = JSON::member(call, "jsonrpc");
  if (!isText(version) || *version != kVersion) return "\"jsonrpc\" must be \"2.0\"";
  if (!isText(JSON::member(call, "method"))) return "\"method\" must be a string";
  const json* id = JSON::member(call, "id");
  if (id != nullptr && !isID(*id)) return "\"id\" must be a string, a number or null";
  const json* params = JSON::member(call, "params");
  if (params != nullptr && !params->is_structured() && !params->is_null())
    return "\"params\" must be an object or an array";
  return {};
}

Request refused(RPCError refusal, const json* id) {
  Request request;
  if (id != nullptr && isID(*id)) request.id = id->dump();
  request.refusal = std::move(refusal);
  return request;
}

void obey(const json& notification, OpenRequests& open) {
  if (*JSON::member(notification, "method") != kCancelNotification) return;
  const json* params = JSON::member(notification, "params");
  const json* id = params == nullptr ? nullptr : JSON::member(*params, "id");
  if (id != nullptr && isID(*id)) open.cancel(id->dump());
}

Request requestOf(const json& call, const json& id, OpenRequests& open) {
  Request request;
  request.id = id.dump();
  request.method = call["method"].get<std::string>();
  const json* params = JSON::member(call, "params");
  if (params != nullptr && !params->is_null()) request.params = params->dump();
  request.ticket = open.add(request.id);
  request.cancellation = (*request.ticket)->second;
  return request;
}

void readCall(const json& call, Message& message, OpenRequests& open) {
  const json* id = JSON::member(call, "id");
  if (std::string problem = problemWith(call); !problem.empty()) {
    message.requests.push_back(refused(RPCError::notARequest(std::move(problem)), id));
  } else if (id == nullptr) {
    obey(call, open);
  } else {
    message.requests.push_back(requestOf(call, *id, open));
  }
}

}  // namespace

OpenRequests::Ticket OpenRequests::add(const std::string& id) {
  const std::lock_guard lock(mutex_);
  return flags_.emplace(id, Cancellation());
}

void OpenRequests::remove(Ticket ticket) {
  const std::lock_guard lock(mutex_);
  flags_.erase(ticket);
}

void OpenRequests::cancel(const std::string& id) {
  const std::lock_guard lock(mutex_);
  const auto [first, last] = flags_.equal_range(id);
  for (auto open = first; open != last; ++open) open->second.cancel();
}

void OpenRequests::cancelAll() {
  const std::lock_guard lock(mutex_);
  for (const auto& [id, flag] : flags_) flag.cancel();
}

// Every value except the first follows a comma or an opening bracket.
std::size_t mostValuesIn(std::string_view line) {
  std::size_t count = 1;
  bool isInString = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const char character = line[i];
    if (isInString) {
      if (character == '\\') ++i;
      if (character == '"') isInString = false;
    } else if (character == '"') {
      isInString = true;
    } else if (character == ',' || character == '[' || character == '{') {
      ++count;
    }
  }
  return count;
}

Message readMessage(std::string_view line, OpenRequests& open) {
  if (line.size() > kMostValuesInALine && mostValuesIn(line) > kMostValuesInALine) {
    return refusedMessage(
        RPCError::notARequest("a line of more than " + std::to_string(kMostValuesInALine) + " values"));
  }
  std::string problem;
  const std::optional<json> value = parseJSON(line, &problem);
  if (!value) return refusedMessage(RPCError::notJSON(problem));
  if (value->is_array() && value->empty()) return refusedMessage(RPCError::notARequest("an empty batch"));
  if (value->is_array() && value->size() > kMostCallsInABatch) {
    return refusedMessage(
        RPCError::notARequest("a batch of more than " + std::to_string(kMostCallsInABatch) + " calls"));
  }
  Message message{.requests = {}, .isBatch = value->is_array(), .lineBytes = line.size()};
  if (message.isBatch) {
    for (const json& call : *value) readCall(call, message, open);
  } else {
    readCall(*value, message, open);
  }
  return message;
}

Message refusedMessage(RPCError refusal) {
  Message message;
  message.requests.push_back(refused(std::move(refusal), nullptr));
  return message;
}

}  // namespace quarn
