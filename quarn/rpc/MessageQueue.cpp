#include "quarn/rpc/MessageQueue.h"

#include <utility>

namespace quarn {

bool MessageQueue::hasRoom() const {
  const std::lock_guard lock(mutex_);
  return waiting_.size() < limits_.waitingLines && waitingBytes_ < limits_.waitingBytes;
}

void MessageQueue::push(Message message) {
  const std::lock_guard lock(mutex_);
  if (isClosed_) return;
  waitingBytes_ += message.lineBytes;
  waiting_.push_back(std::move(message));
  changed_.notify_one();
}

std::optional<Message> MessageQueue::pop() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return isClosed_ || !waiting_.empty(); });
  if (waiting_.empty()) return std::nullopt;
  Message message = std::move(waiting_.front());
  waiting_.pop_front();
  waitingBytes_ -= message.lineBytes;
  return message;
}

void MessageQueue::close() {
  const std::lock_guard lock(mutex_);
  isClosed_ = true;
  changed_.notify_one();
}

void MessageQueue::abandon() {
  const std::lock_guard lock(mutex_);
  isClosed_ = true;
  waiting_.clear();
  waitingBytes_ = 0;
  changed_.notify_one();
}

bool MessageQueue::isClosed() const {
  const std::lock_guard lock(mutex_);
  return isClosed_;
}

}  // namespace quarn
