#include "quarn/rpc/MessageQueue.h"

#include <algorithm>
#include <utility>

namespace quarn {

bool MessageQueue::hasRoom() const {
  const std::lock_guard lock(mutex_);
  return waiting_.size() < limits_.waitingLines && waitingBytes_ < limits_.waitingBytes;
}

bool MessageQueue::hasIdleThread() const {
  const std::lock_guard lock(mutex_);
  return waiting_.size() < idleThreads_;
}

void MessageQueue::push(Message message) {
  const std::lock_guard lock(mutex_);
  if (isClosed_) return;
  waitingBytes_ += message.bytes;
  waiting_.push_back(std::move(message));
  changed_.notify_all();  // not every thread takes every message
}

std::deque<Message>::iterator MessageQueue::oldest(Lane lane) {
  if (lane == Lane::any) return waiting_.begin();
  return std::find_if(waiting_.begin(), waiting_.end(), [](const Message& message) { return message.isQuick; });
}

std::optional<Message> MessageQueue::pop(Lane lane) {
  std::unique_lock lock(mutex_);
  idleThreads_ += lane == Lane::any ? 1 : 0;
  changed_.wait(lock, [&] { return isClosed_ || oldest(lane) != waiting_.end(); });
  idleThreads_ -= lane == Lane::any ? 1 : 0;
  const auto next = oldest(lane);
  if (next == waiting_.end()) return std::nullopt;
  Message message = std::move(*next);
  waiting_.erase(next);
  waitingBytes_ -= message.bytes;
  return message;
}

void MessageQueue::close() {
  const std::lock_guard lock(mutex_);
  isClosed_ = true;
  changed_.notify_all();
}

void MessageQueue::abandon() {
  const std::lock_guard lock(mutex_);
  isClosed_ = true;
  waiting_.clear();
  waitingBytes_ = 0;
  changed_.notify_all();
}

bool MessageQueue::isClosed() const {
  const std::lock_guard lock(mutex_);
  return isClosed_;
}

}  // namespace quarn
