#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuarnPlatform/base/Cancellation.h"
#include "QuarnPlatform/json/JSONDocument.h"
#include "quarn/rpc/RPCError.h"

namespace quarn {

/// The requests that have not been answered yet, by id. A cancellation finds its request in logarithmic time.
/// Thread-safe.
class OpenRequests {
 public:
  /// Identifies one request.
  using Ticket = std::multimap<std::string, Cancellation>::iterator;

  /// `id` is JSON text, so 1 and "1" differ.
  Ticket add(const std::string& id);
  void remove(Ticket ticket);
  /// Sets the flag of every open request with that id.
  void cancel(const std::string& id);
  void cancelAll();

 private:
  std::mutex mutex_;
  std::multimap<std::string, Cancellation> flags_;
};

/// One request of a line, or the error for an invalid one.
struct Request {
  std::string id = "null";  ///< JSON text, as in the response
  std::string method;
  std::optional<JSONValue> params;  ///< an object or an array; valid as long as the document of the message
  Cancellation cancellation = Cancellation::never();
  std::optional<OpenRequests::Ticket> ticket;  ///< absent if refused
  std::optional<RPCError> refusal;             ///< if set, the request does not run
};

/// The requests of one line, in order. It holds no notifications: a cancellation takes effect when the line is read,
/// and the process ignores all others.
struct Message {
  std::vector<Request> requests;
  bool isBatch = false;   ///< the response is an array
  bool isQuick = true;    ///< every request is known to take little time
  std::size_t bytes = 0;  ///< what it takes while it waits: the length of its line, or more
  std::optional<JSONDocument> document = std::nullopt;  ///< the parsed line
};

/// Maximum number of calls in a batch. It bounds the error responses, which could be a thousand times as long as the
/// batch.
inline constexpr std::size_t kMostCallsInABatch = 10'000;

/// Bytes of a batch's answers from which on its further requests are refused: every answer is held until the last.
inline constexpr std::size_t kMostAnswerBytesInABatch = std::size_t{32} << 20;

/// Maximum number of values in a line, counted before parsing. A value takes 16 bytes of memory besides its text, and
/// the record that it becomes takes more; a line may hold one value in three bytes. Typical requests have one value per
/// thirty bytes.
inline constexpr std::size_t kMostValuesInALine = 4'000'000;

/// An upper bound for the number of values in a JSON text; exact if the text has no empty arrays or objects. For text
/// that is not JSON the result has no meaning.
[[nodiscard]] std::size_t mostValuesIn(std::string_view line);

/// Parses one line. Adds its requests to `open` and applies its cancellations to `open`, in the order of the line.
/// Never fails: an invalid line becomes a message with a refusal. A message without requests gets no response.
[[nodiscard]] Message readMessage(std::string_view line, OpenRequests& open);

/// The message for a line that is refused unparsed.
[[nodiscard]] Message refusedMessage(RPCError refusal);

}  // namespace quarn
