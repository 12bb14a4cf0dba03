#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "QuarnPlatform/json/JSONDocument.h"
#include "quarn/rpc/Message.h"

/// Every line becomes a message. Each of its requests has an id that is JSON, and either runs or is refused.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view line(reinterpret_cast<const char*>(data), size);
  quarn::OpenRequests open;
  const quarn::Message message = quarn::readMessage(line, open);
  for (const quarn::Request& request : message.requests) {
    if (!quarn::JSONDocument::parse(request.id)) std::abort();
    if (request.ticket.has_value() == request.refusal.has_value()) std::abort();
    if (request.ticket) open.remove(*request.ticket);
  }
  open.cancelAll();
  return 0;
}
