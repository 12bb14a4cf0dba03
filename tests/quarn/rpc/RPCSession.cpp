#include "tests/quarn/rpc/RPCSession.h"

#include <array>
#include <chrono>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include "tests/support/Pipe.h"

namespace quarn {
namespace {

/// Much longer than any test takes; only reached if the server hangs.
constexpr std::chrono::seconds kPatience{100};

}  // namespace

RPCSession::RPCSession(Server server) {
  Pipe input = makePipe();
  Pipe output = makePipe();
  Pipe stop = makePipe();
  toServer_ = std::move(input.writing);
  fromServer_ = std::move(output.reading);
  stopReading_ = std::move(stop.writing);
  stopped_ = std::move(stop.reading);
  server_ = std::thread(
      [this, server = std::move(server), in = std::move(input.reading), out = std::move(output.writing)]() mutable {
        const int status = server(in.get(), out.get());
        const std::lock_guard lock(mutex_);
        status_ = status;
        in.reset();
        out.reset();
      });
  collector_ = std::thread([this] { collect(); });
}

RPCSession::~RPCSession() {
  toServer_.reset();
  if (server_.joinable()) server_.join();
  stopReading_.reset();
  if (collector_.joinable()) collector_.join();
}

RPCSession& RPCSession::send(std::string_view line) { return sendBytes(std::string(line) + "\n"); }

RPCSession& RPCSession::sendBytes(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(toServer_.get(), bytes.data(), bytes.size());
    if (count < 0) throw std::runtime_error("the server does not read");
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return *this;
}

std::size_t RPCSession::sendWithoutWaiting(std::string_view bytes) {
  std::size_t sent = 0;
  pollfd room{toServer_.get(), POLLOUT, 0};
  while (sent < bytes.size() && ::poll(&room, 1, 300) > 0) {
    const std::size_t portion = std::min<std::size_t>(bytes.size() - sent, 4096);  // what a ready pipe takes whole
    const ssize_t count = ::write(toServer_.get(), bytes.data() + sent, portion);
    if (count < 0) throw std::runtime_error("the server does not read");
    sent += static_cast<std::size_t>(count);
  }
  return sent;
}

std::string RPCSession::receive() {
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, kPatience, [this] { return !lines_.empty() || hasEnded_; });
  if (lines_.empty()) throw std::runtime_error("the server sent no line");
  std::string line = std::move(lines_.front());
  lines_.pop_front();
  return line;
}

std::vector<std::string> RPCSession::finish() {
  toServer_.reset();
  std::unique_lock lock(mutex_);
  if (!changed_.wait_for(lock, kPatience, [this] { return hasEnded_; })) throw std::runtime_error("no end of output");
  std::vector<std::string> rest(lines_.begin(), lines_.end());
  lines_.clear();
  return rest;
}

void RPCSession::stopListening() {
  stopReading_.reset();
  collector_.join();
  fromServer_.reset();
}

int RPCSession::status() {
  server_.join();
  return status_;
}

void RPCSession::collect() {
  std::string text;
  std::array<char, 65536> bytes{};
  std::array<pollfd, 2> waited{{{fromServer_.get(), POLLIN, 0}, {stopped_.get(), POLLIN, 0}}};
  while (::poll(waited.data(), waited.size(), -1) >= 0 && waited[1].revents == 0) {
    const ssize_t count = ::read(fromServer_.get(), bytes.data(), bytes.size());
    if (count <= 0) break;
    text.append(bytes.data(), static_cast<std::size_t>(count));
    const std::lock_guard lock(mutex_);
    for (std::size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n')) {
      lines_.push_back(text.substr(0, end));
      text.erase(0, end + 1);
    }
    changed_.notify_all();
  }
  const std::lock_guard lock(mutex_);
  if (!text.empty()) lines_.push_back(text + "<without a line end>");
  hasEnded_ = true;
  changed_.notify_all();
}

}  // namespace quarn
