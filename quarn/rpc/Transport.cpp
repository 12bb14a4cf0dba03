#include "quarn/rpc/Transport.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <exception>
#include <system_error>
#include <thread>
#include <utility>

#include <poll.h>

#include "QuarnPlatform/json/JSON.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/rpc/LineReader.h"
#include "quarn/rpc/LineWriter.h"
#include "quarn/rpc/Notifications.h"
#include "quarn/rpc/WakePipe.h"
#include "quarn/services/MemoryReserve.h"

namespace quarn {
namespace {

using nlohmann::json;
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

std::string jsonText(const ordered_json& value) {
  return value.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

std::string answerText(const std::string& id, std::string_view member, const ordered_json& value) {
  return R"({"jsonrpc":"2.0","id":)" + id + ",\"" + std::string(member) + "\":" + jsonText(value) + "}";
}

std::string errorAnswer(const std::string& id, const RPCError& error) {
  ordered_json value = {{"code", static_cast<int>(error.code)}, {"message", error.message}};
  for (const auto& [name, content] : error.data) {
    std::visit([&, &key = name](const auto& plain) { value["data"][key] = plain; }, content);
  }
  return answerText(id, "error", value);
}

std::string progressNotification(const std::string& id, const ordered_json& value) {
  return R"({"jsonrpc":"2.0","method":")" + std::string(kProgressNotification) + R"(","params":{"id":)" + id +
         ",\"value\":" + jsonText(value) + "}}";
}

class Session {
 public:
  Session(int inputDescriptor, int outputDescriptor, const Dispatcher& dispatcher, const TransportLimits& limits)
      : input_(inputDescriptor),
        output_(outputDescriptor),
        dispatcher_(dispatcher),
        reader_(inputDescriptor, limits.lineBytes),
        writer_(outputDescriptor),
        queue_(limits) {}

  int run() {
    const BrokenPipeIgnored guard;
    std::thread worker;
    try {
      worker = std::thread([this] { work(); });
    } catch (const std::system_error&) {
      hasWorker_ = false;
    }
    readLines();
    queue_.close();
    while (hasWorker_ && !isFinished_ && waitFor(Input::notWanted)) {
    }
    if (worker.joinable()) worker.join();
    return writer_.error() == EPIPE ? 0 : writer_.error();
  }

 private:
  enum class Input : std::uint8_t { wanted, notWanted };

  // ---- the reader's side

  void readLines() {
    std::string line;
    while (!queue_.isClosed()) {
      const bool hasRoom = queue_.hasRoom();
      const LineReader::Status status = hasRoom ? reader_.next(line) : LineReader::Status::needMore;
      if (status == LineReader::Status::end) return;
      if (status == LineReader::Status::needMore) {
        if (!waitFor(hasRoom ? Input::wanted : Input::notWanted)) return;
      } else {
        take(status == LineReader::Status::line ? read(line) : refusedMessage(tooLong()));
      }
    }
  }

  Message read(const std::string& line) {
    try {
      return readMessage(line, open_);
    } catch (const std::exception& error) {
      return refusedMessage(RPCError::internal(error.what()));
    }
  }

  static RPCError tooLong() { return RPCError::notARequest("the line is too long"); }

  // Without a thread to be had requests run on this one, and a cancellation is read when they are done.
  void take(Message message) {
    if (message.requests.empty()) return;
    if (hasWorker_) {
      queue_.push(std::move(message));
    } else {
      answer(message);
    }
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

  // ---- the worker's side

  void work() {
    while (std::optional<Message> message = queue_.pop()) {
      wake_.signal();  // the queue has room
      answer(*message);
    }
    isFinished_ = true;
    wake_.signal();
  }

  void answer(const Message& message) {
    bool isTaken = false;
    try {
      isTaken = writer_.write(answerTo(message));
    } catch (const std::exception& error) {
      isTaken = writer_.write(errorAnswer("null", RPCError::internal(error.what())));
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
    const auto report = [&](const ordered_json& value) {
      if (!writer_.write(progressNotification(request.id, value))) giveUp();
    };
    MemoryReserve::refill();
    try {
      const std::optional<json> params = request.params.empty() ? std::nullopt : parseJSON(request.params);
      const RequestContext context{request.cancellation, report};
      return answerText(request.id, "result", dispatcher_(request.method, params ? &*params : nullptr, context));
    } catch (const RPCError& error) {
      return errorAnswer(request.id, error);
    } catch (const std::exception& error) {
      return errorAnswer(request.id, RPCError::internal(error.what()));
    }
  }

  int input_;
  int output_;
  const Dispatcher& dispatcher_;
  LineReader reader_;
  LineWriter writer_;
  OpenRequests open_;
  MessageQueue queue_;
  WakePipe wake_;
  std::atomic<bool> isFinished_ = false;
  bool hasWorker_ = true;
};

}  // namespace

int serve(int inputDescriptor, int outputDescriptor, const Dispatcher& dispatcher, const TransportLimits& limits) {
  return Session(inputDescriptor, outputDescriptor, dispatcher, limits).run();
}

}  // namespace quarn
