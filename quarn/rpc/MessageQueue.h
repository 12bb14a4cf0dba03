#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>

#include "quarn/rpc/Message.h"

namespace quarn {

/// How much the transport takes in before it answers.
struct TransportLimits {
  std::size_t lineBytes = std::size_t{64} << 20;     ///< longest line, "\n" not counted
  std::size_t waitingBytes = std::size_t{64} << 20;  ///< text of the lines that wait: at or above it none is read
  std::size_t waitingLines = 1024;                   ///< likewise their number
};

/// The messages that wait for their turn, first come first served. Safe from any thread.
class MessageQueue {
 public:
  explicit MessageQueue(const TransportLimits& limits) : limits_(limits) {}

  /// Whether one more line may be read.
  [[nodiscard]] bool hasRoom() const;
  /// Adds a message; never waits.
  void push(Message message);
  /// Waits for the next message; absent once the queue is closed and empty.
  std::optional<Message> pop();
  /// Nothing more will be added.
  void close();
  /// Closes and forgets what waits.
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
