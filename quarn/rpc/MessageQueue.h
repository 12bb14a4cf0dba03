#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>

#include "quarn/rpc/Message.h"

namespace quarn {

/// Limits for the input that waits for a response.
struct TransportLimits {
  std::size_t lineBytes = std::size_t{64} << 20;     ///< maximum line length without "\n"
  std::size_t waitingBytes = std::size_t{64} << 20;  ///< reading stops when the waiting lines reach this
  std::size_t waitingLines = 1024;                   ///< reading stops at this number of waiting lines
};

/// The queue of waiting messages, first in, first out. Thread-safe.
class MessageQueue {
 public:
  explicit MessageQueue(const TransportLimits& limits) : limits_(limits) {}

  /// True if another line may be read.
  [[nodiscard]] bool hasRoom() const;
  /// Adds a message; never blocks.
  void push(Message message);
  /// Blocks until a message arrives; absent once the queue is closed and empty.
  std::optional<Message> pop();
  /// No message will follow.
  void close();
  /// Closes the queue and drops its messages.
  void abandon();
  [[nodiscard]] bool isClosed() const;

 private:
  TransportLimits limits_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Message> waiting_;
  std::size_t waitingBytes_ = 0;
  bool isClosed_ = false;
};

}  // namespace quarn
