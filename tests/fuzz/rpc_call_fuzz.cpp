#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "QuarnPlatform/text/Text.h"
#include "RecordRoundTrip.h"
#include "quarn/rpc/Message.h"
#include "tests/support/ParsedJSON.h"

namespace {

using nlohmann::json;

/// The member names and enumeration values of the interface, and texts that have a meaning elsewhere.
const std::vector<std::string>& words() {
  static const std::vector<std::string> all = [] {
    std::vector<std::string> found{"/Applications/X.app", "file:///a%20b/",
                                   "file://host/a",       "2026-11-20T21:23:05Z",
                                   "$/cancelRequest",     "id",
                                   "com.example.x",       ""};
    for (const auto& record : quarn::describeRecords())
      for (const auto& member : record.members) found.push_back(member.name);
    for (const auto& enumeration : quarn::describeEnumerations())
      for (const std::string_view value : enumeration.values) found.emplace_back(value);
    return found;
  }();
  return all;
}

/// Builds JSON values from bytes, so that nearly every input is a well-formed request with names that exist.
class Builder {
 public:
  explicit Builder(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  [[nodiscard]] bool isAtEnd() const { return bytes_.empty(); }

  json value(int depth = 0) {
    constexpr int kDeepest = 6;
    switch (next() % (depth < kDeepest ? 8 : 6)) {
      case 0: return nullptr;
      case 1: return next() % 2 == 0;
      case 2: return number() / 256;
      case 3: return number();
      case 4: return 1.0 / (next() + 1);
      case 5: return word();
      case 6: return array(depth);
      default: return object(depth);
    }
  }

  json call() {
    json call{{"jsonrpc", "2.0"}, {"method", word()}};
    if (next() % 4 != 0) call["id"] = value();
    if (next() % 8 != 0) call["params"] = next() % 2 == 0 ? object(0) : json{{"id", next()}};
    return call;
  }

 private:
  std::uint8_t next() {
    if (bytes_.empty()) return 0;
    const std::uint8_t byte = bytes_.front();
    bytes_ = bytes_.subspan(1);
    return byte;
  }
  std::int64_t number() {
    std::uint64_t number = 0;
    for (int i = 0; i < 8; ++i) number = number << 8 | next();
    return static_cast<std::int64_t>(number);
  }
  std::string word() {
    const std::uint8_t choice = next();
    if (choice < words().size()) return words()[choice];
    std::string text;
    for (int count = choice % 16; count > 0; --count) text += static_cast<char>(next());
    return quarn::Text::validUTF8(text);
  }
  json array(int depth) {
    json array = json::array();
    for (int count = next() % 5; count > 0; --count) array.push_back(value(depth + 1));
    return array;
  }
  json object(int depth) {
    json object = json::object();
    for (int count = next() % 16; count > 0; --count) {
      const std::string key = word();
      object[key] = value(depth + 1);
    }
    return object;
  }

  std::span<const std::uint8_t> bytes_;
};

void check(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

/// Every call of a batch is answered, ignored as a notification, or cancelled by a later one; the params of a request
/// are the ones that were sent.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Builder builder({data, size});
  json batch = json::array({builder.call()});
  while (!builder.isAtEnd()) batch.push_back(builder.call());
  quarn::OpenRequests open;
  const quarn::Message message = quarn::readMessage(batch.dump(), open);
  std::size_t next = 0;
  for (const json& call : batch) {
    if (!call.contains("id")) continue;
    check(next < message.requests.size());
    const quarn::Request& request = message.requests[next++];
    check(request.ticket.has_value() != request.refusal.has_value());
    check(call["id"].is_structured() || call["id"].is_boolean() || *quarn::parseJSON(request.id) == call["id"]);
    if (!request.ticket) continue;
    open.remove(*request.ticket);
    if (request.params) {
      check(quarn::libraryTree(*request.params) == call["params"]);
      quarn::roundTripAsEachRecord(*request.params);
    }
  }
  check(message.requests.size() == next);
  return 0;
}
