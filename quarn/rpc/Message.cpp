#include "quarn/rpc/Message.h"

#include <algorithm>
#include <utility>

#include "quarn/rpc/Notifications.h"

namespace quarn {
namespace {

constexpr std::string_view kVersion = "2.0";

bool isID(const JSONValue& value) { return value.isString() || value.isNumber() || value.isNull(); }

bool isText(const std::optional<JSONValue>& value) { return value && value->isString(); }

/// The defect in the form of a call; empty for a valid request or notification.
std::string problemWith(const JSONValue& call) {
  if (!call.isObject()) return "a request must be an object";
  const std::optional<JSONValue> version = call.member("jsonrpc");
  if (!isText(version) || version->string() != kVersion) return "\"jsonrpc\" must be \"2.0\"";
  if (!isText(call.member("method"))) return "\"method\" must be a string";
  const std::optional<JSONValue> id = call.member("id");
  if (id && !isID(*id)) return "\"id\" must be a string, a number or null";
  const std::optional<JSONValue> params = call.member("params");
  if (params && !params->isObject() && !params->isArray() && !params->isNull())
    return "\"params\" must be an object or an array";
  return {};
}

Request refused(RPCError refusal, const std::optional<JSONValue>& id) {
  Request request;
  if (id && isID(*id)) request.id = id->text();
  request.refusal = std::move(refusal);
  return request;
}

void obey(const JSONValue& notification, OpenRequests& open) {
  if (notification.member("method")->string() != kCancelNotification) return;
  const std::optional<JSONValue> params = notification.member("params");
  const std::optional<JSONValue> id = params ? params->member("id") : std::nullopt;
  if (id && isID(*id)) open.cancel(id->text());
}

Request requestOf(const JSONValue& call, const JSONValue& id, OpenRequests& open) {
  Request request;
  request.id = id.text();
  request.method = call.member("method")->string();
  request.params = call.member("params");
  if (request.params && request.params->isNull()) request.params.reset();
  request.ticket = open.add(request.id);
  request.cancellation = (*request.ticket)->second;
  return request;
}

void readCall(const JSONValue& call, Message& message, OpenRequests& open) {
  const std::optional<JSONValue> id = call.member("id");
  if (std::string problem = problemWith(call); !problem.empty()) {
    message.requests.push_back(refused(RPCError::notARequest(std::move(problem)), id));
  } else if (!id) {
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
  std::optional<JSONDocument> document = JSONDocument::parse(line, &problem);
  if (!document) return refusedMessage(RPCError::notJSON(problem));
  const JSONValue value = document->root();
  if (value.isArray() && value.count() == 0) return refusedMessage(RPCError::notARequest("an empty batch"));
  if (value.isArray() && value.count() > kMostCallsInABatch) {
    return refusedMessage(
        RPCError::notARequest("a batch of more than " + std::to_string(kMostCallsInABatch) + " calls"));
  }
  Message message{.requests = {},
                  .isBatch = value.isArray(),
                  .bytes = std::max(line.size(), document->memory()),
                  .document = document};
  if (message.isBatch) {
    for (std::size_t i = 0; i < value.count(); ++i) readCall(value.element(i), message, open);
  } else {
    readCall(value, message, open);
  }
  return message;
}

Message refusedMessage(RPCError refusal) {
  Message message;
  message.requests.push_back(refused(std::move(refusal), std::nullopt));
  return message;
}

}  // namespace quarn
