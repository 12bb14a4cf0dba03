#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuarnPlatform/base/Cancellation.h"
#include "quarn/rpc/RPCError.h"

namespace quarn {

/// The requests that have been read and not yet answered, by id, so that a cancellation finds them in no time however
/// many there are. Safe from any thread.
class OpenRequests {
 public:
  /// Where a request stands among them.
  using Ticket = std::multimap<std::string, Cancellation>::iterator;

  /// `id` as JSON text: 1 and "1" are two.
  Ticket add(const std::string& id);
  void remove(Ticket ticket);
  /// Sets the flag of every open request of that id.
  void cancel(const std::string& id);
  void cancelAll();

 private:
  std::mutex mutex_;
  std::multimap<std::string, Cancellation> flags_;
};

/// One request of a line, or why that part of the line is none. Its params are text until it is run: many requests may
/// wait, and text takes a tenth of the memory.
struct Request {
  std::string id = "null";  ///< as JSON text, as it goes back
  std::string method;
  std::string params;  ///< JSON text of an object or an array; empty without params
  Cancellation cancellation = Cancellation::never();
  std::optional<OpenRequests::Ticket> ticket;  ///< absent for what is refused
  std::optional<RPCError> refusal;             ///< set: nothing is to be run
};

/// What one line asks for, in order. Notifications are not among it: the only one that means something, the
/// cancellation, is obeyed when the line is read, and the others have nobody who waits for them.
struct Message {
  std::vector<Request> requests;
  bool isBatch = false;       ///< answered as one array
  std::size_t lineBytes = 0;  ///< of the line that it was read from
};

/// Largest number of calls in a batch: what they are refused with must not take a thousand times their own space.
inline constexpr std::size_t kMostCallsInABatch = 10'000;

/// Bytes of a batch's answers from which on its further requests are refused: every answer is held until the last.
inline constexpr std::size_t kMostAnswerBytesInABatch = std::size_t{32} << 20;

/// Largest number of values in a line, counted before it is read: a value takes some hundred bytes of memory, and a
/// line may hold one in three bytes. Requests have a value in some thirty bytes.
inline constexpr std::size_t kMostValuesInALine = 4'000'000;

/// How many values a JSON text holds at most; exact for a text without empty arrays and objects. Of what is not JSON,
/// some number.
[[nodiscard]] std::size_t mostValuesIn(std::string_view line);

/// Reads one line. Requests are entered into `open`, cancellations are carried out on it, both in the line's order.
/// Whatever the line holds, the result is a message; one without requests is not answered.
[[nodiscard]] Message readMessage(std::string_view line, OpenRequests& open);

/// The message for a line that is not read at all.
[[nodiscard]] Message refusedMessage(RPCError refusal);

}  // namespace quarn
