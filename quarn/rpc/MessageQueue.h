#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>

#include "quarn/rpc/Message.h"

namespace quarn {

/// Limits for the input that waits for a response, and for the work on it.
struct TransportLimits {
  std::size_t lineBytes = std::size_t{64} << 20;     ///< maximum line length without "\n"
  std::size_t waitingBytes = std::size_t{64} << 20;  ///< reading stops when the waiting lines take this
  std::size_t waitingLines = 1024;                   ///< reading stops at this number of waiting lines
  /// Lines that run at the same time. With 1, responses have the order of the requests. With more, one further thread
  /// only runs quick requests, so that these never wait for long ones.
  std::size_t runningLines = 1;
};

/// The queue of waiting messages. Thread-safe.
class MessageQueue {
 public:
  /// The messages that a thread takes.
  enum class Lane : std::uint8_t { any, quick };

  explicit MessageQueue(const TransportLimits& limits) : limits_(limits) {}

  /// True if another line may be read.
  [[nodiscard]] bool hasRoom() const;
  /// True if a thread of the lane `any` waits for one more message.
  [[nodiscard]] bool hasIdleThread() const;
  /// Adds a message; never blocks.
  void push(Message message);
  /// Blocks until a message of the lane arrives, and returns the oldest; absent once the queue is closed and has none.
  std::optional<Message> pop(Lane lane);
  /// No message will follow.
  void close();
  /// Closes the queue and drops its messages.
  void abandon();
  [[nodiscard]] bool isClosed() const;

 private:
  [[nodiscard]] std::deque<Message>::iterator oldest(Lane lane);

  TransportLimits limits_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Message> waiting_;
  std::size_t waitingBytes_ = 0;
  std::size_t idleThreads_ = 0;  // of the lane `any`
  bool isClosed_ = false;
};

}  // namespace quarn
