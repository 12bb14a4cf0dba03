#include "quarn/rpc/Transport.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <exception>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <poll.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/rpc/LineReader.h"
#include "quarn/rpc/LineWriter.h"
#include "quarn/rpc/Notifications.h"
#include "quarn/rpc/WakePipe.h"
#include "quarn/services/MemoryReserve.h"

namespace quarn {
namespace {

using nlohmann::ordered_json;

/// Ignores SIGPIPE, so that a write to a closed pipe fails instead of terminating the process.
class BrokenPipeIgnored {
 public:
  BrokenPipeIgnored() {
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    ::sigaction(SIGPIPE, &ignore, &before_);
  }
  ~BrokenPipeIgnored() { ::sigaction(SIGPIPE, &before_, nullptr); }
  BrokenPipeIgnored(const BrokenPipeIgnored&) = delete;
  BrokenPipeIgnored& operator=(const BrokenPipeIgnored&) = delete;

 private:
  struct sigaction before_ {};
};

std::string answerText(const std::string& id, std::string_view member, const JSONText& value) {
  return R"({"jsonrpc":"2.0","id":)" + id + ",\"" + std::string(member) + "\":" + value.text + "}";
}

std::string errorAnswer(const std::string& id, const RPCError& error) {
  ordered_json value = {{"code", static_cast<int>(error.code)}, {"message", error.message}};
  for (const auto& [name, content] : error.data) {
    std::visit([&, &key = name](const auto& plain) { value["data"][key] = plain; }, content);
  }
  return answerText(id, "error", value);
}

std::string notification(std::string_view method, const std::string& id, const ordered_json& value) {
  return R"({"jsonrpc":"2.0","method":")" + std::string(method) + R"(","params":{"id":)" + id +
         ",\"value\":" + JSONText(value).text + "}}";
}

bool isBlank(std::string_view line) { return line.find_first_not_of(" \t\r") == std::string_view::npos; }

// The calling thread is the reader: it owns `reader_` and `workers_`, fills `queue_` and polls. Workers take messages
// from `queue_`, run them and write the answers. The reader starts a worker when a message finds no idle one: as many
// as lines may run at the same time, and then the one of the quick lane. `queue_`, `writer_`, `open_` and `wake_` have
// their own locks; no thread holds two of them. A worker signals `wake_` when the queue has room again, and the last
// one when it ends.
class Session {
 public:
  Session(int inputDescriptor, int outputDescriptor, const Dispatcher& dispatcher, const TransportLimits& limits,
          const IsQuick& isQuick)
      : input_(inputDescriptor),
        output_(outputDescriptor),
        dispatcher_(dispatcher),
        isQuick_(isQuick),
        runningLines_(std::max<std::size_t>(limits.runningLines, 1)),
        reader_(inputDescriptor, limits.lineBytes),
        writer_(outputDescriptor),
        queue_(limits) {}

  int run() {
    const BrokenPipeIgnored guard;
    readLines();
    queue_.close();
    while (busyWorkers_ > 0 && waitFor(Input::notWanted)) {
    }
    for (std::thread& worker : workers_) worker.join();
    return writer_.error() == EPIPE ? 0 : writer_.error();
  }

 private:
  enum class Input : std::uint8_t { wanted, notWanted };

  void startAnotherWorker() {
    if (workers_.size() < runningLines_) {
      startWorker(MessageQueue::Lane::any);
    } else if (workers_.size() == runningLines_ && runningLines_ > 1 && isQuick_) {
      startWorker(MessageQueue::Lane::quick);
    }
  }

  // Without a thread to be had, the session goes on with those that it has.
  void startWorker(MessageQueue::Lane lane) {
    ++busyWorkers_;
    try {
      workers_.emplace_back([this, lane] { work(lane); });
    } catch (const std::system_error&) {
      --busyWorkers_;
    }
  }

  // ---- the reader's side

  void readLines() {
    std::string line;
    while (!queue_.isClosed()) {
      const bool hasRoom = queue_.hasRoom();
      const LineReader::Status status = hasRoom ? reader_.next(line) : LineReader::Status::needMore;
      if (status == LineReader::Status::end) return;
      if (status == LineReader::Status::needMore) {
        if (!waitFor(hasRoom ? Input::wanted : Input::notWanted)) return;
      } else if (status != LineReader::Status::line) {
        take(refusedMessage(tooLong()));
      } else if (!isBlank(line)) {
        take(read(line));
      }
    }
  }

  Message read(const std::string& line) {
    try {
      return readMessage(line, open_);
    } catch (const std::exception& error) {
      return refusedMessage(RPCError::unexpected(error));
    }
  }

  static RPCError tooLong() { return RPCError::notARequest("the line is too long"); }

  // Without workers, requests run on this thread, and a cancellation is read when they are done.
  void take(Message message) {
    if (message.requests.empty()) return;
    if (!queue_.hasIdleThread()) startAnotherWorker();
    if (workers_.empty()) {
      answer(message);
      return;
    }
    message.isQuick = std::all_of(message.requests.begin(), message.requests.end(), [&](const Request& request) {
      return request.refusal.has_value() || (isQuick_ && isQuick_(request.method));
    });
    queue_.push(std::move(message));
  }

  /// Blocks until input arrives or the worker signals. Returns false if the client is gone.
  bool waitFor(Input input) {
    std::array<pollfd, 3> waited{
        {{wake_.descriptor(), POLLIN, 0}, {output_, 0, 0}, {input == Input::wanted ? input_ : -1, POLLIN, 0}}};
    if (::poll(waited.data(), waited.size(), -1) < 0) return true;
    if (waited[0].revents != 0) wake_.drain();
    if (waited[1].revents != 0) return giveUp();
    if (waited[2].revents != 0) reader_.readMore();
    return true;
  }

  /// The client closed the output.
  bool giveUp() {
    queue_.abandon();
    open_.cancelAll();
    return false;
  }

  // ---- the workers' side

  void work(MessageQueue::Lane lane) {
    while (std::optional<Message> message = queue_.pop(lane)) {
      wake_.signal();  // the queue has room
      answer(*message);
    }
    if (--busyWorkers_ == 0) wake_.signal();
  }

  void answer(const Message& message) {
    bool isTaken = false;
    try {
      isTaken = writer_.write(answerTo(message));
    } catch (const std::exception& error) {
      isTaken = writer_.write(errorAnswer("null", RPCError::unexpected(error)));
    }
    if (!isTaken) giveUp();
  }

  std::string answerTo(const Message& message) {
    std::string text;
    for (const Request& request : message.requests) {
      if (!text.empty()) text += ',';
      const bool hasRoom = text.size() < kMostAnswerBytesInABatch;
      text += hasRoom ? answerTo(request) : answerWithout(request, RPCError::limitReached("the batch's answers"));
    }
    return message.isBatch ? "[" + text + "]" : text;
  }

  std::string answerTo(const Request& request) {
    if (request.refusal) return errorAnswer(request.id, *request.refusal);
    if (request.cancellation.isCancelled()) return answerWithout(request, RPCError::cancelled());
    std::string text = resultOf(request);
    open_.remove(*request.ticket);
    return text;
  }

  /// The request is not run.
  std::string answerWithout(const Request& request, const RPCError& error) {
    if (request.ticket) open_.remove(*request.ticket);
    return errorAnswer(request.id, request.refusal.value_or(error));
  }

  std::string resultOf(const Request& request) {
    const auto notifying = [&](std::string_view method) {
      return [&, method](const ordered_json& value) {
        if (!writer_.write(notification(method, request.id, value))) giveUp();
      };
    };
    MemoryReserve::refill();
    try {
      const JSONValue* params = request.params ? &*request.params : nullptr;
      const RequestContext context{request.cancellation, notifying(kProgressNotification),
                                   notifying(kUnreadNotification)};
      return answerText(request.id, "result", dispatcher_(request.method, params, context));
    } catch (const RPCError& error) {
      return errorAnswer(request.id, error);
    } catch (const std::exception& error) {
      return errorAnswer(request.id, RPCError::unexpected(error));
    }
  }

  int input_;
  int output_;
  const Dispatcher& dispatcher_;
  const IsQuick& isQuick_;
  const std::size_t runningLines_;
  LineReader reader_;
  LineWriter writer_;
  OpenRequests open_;
  MessageQueue queue_;
  WakePipe wake_;
  std::atomic<std::size_t> busyWorkers_ = 0;
  std::vector<std::thread> workers_;
};

}  // namespace

JSONText::JSONText(const ordered_json& value)
    : text(value.dump(-1, ' ', false, ordered_json::error_handler_t::replace)) {}

int serve(int inputDescriptor, int outputDescriptor, const Dispatcher& dispatcher, const TransportLimits& limits,
          const IsQuick& isQuick) {
  return Session(inputDescriptor, outputDescriptor, dispatcher, limits, isQuick).run();
}

}  // namespace quarn
