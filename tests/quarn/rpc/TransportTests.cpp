#include <atomic>
#include <chrono>
#include <condition_variable>
#include <future>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>

#include <gmock/gmock.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/rpc/RPCError.h"
#include "quarn/rpc/Transport.h"
#include "tests/quarn/rpc/RPCSession.h"

namespace quarn::transport_tests {
namespace {

using nlohmann::json;
using nlohmann::ordered_json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr std::string_view kNoRequest = R"({"jsonrpc":"2.0","id":null,"error":{"code":-32600,)";
constexpr std::string_view kNoJSON = R"({"jsonrpc":"2.0","id":null,"error":{"code":-32700,)";

/// Operations that show the behaviour of the transport.
class Operations {
 public:
  ordered_json run(const std::string& method, const JSONValue* params, const RequestContext& context) {
    if (method == "params") return params == nullptr ? ordered_json("none") : ordered_json::parse(params->text());
    if (method == "hold") return hold();
    if (method == "count") return ++count_;
    if (method == "untilCancelled") return untilCancelled(context);
    if (method == "report") return report(context);
    if (method == "refuse") throw RPCError{RPCErrorCode::operationFailed, "refused", {{"path", "/a"}, {"errno", 13}}};
    if (method == "large") return std::string(std::size_t{1} << 20, 'x');
    if (method == "break") throw std::runtime_error("broken");
    if (method == "fill") throw std::bad_alloc();
    if (method == "badText")
      return ordered_json(
          "a\xFF"
          "b");
    throw RPCError::noSuchMethod(method);
  }

  /// Lets "hold" return.
  void release() { released_.set_value(); }
  /// Waits until "hold" or "untilCancelled" runs.
  void waitForStart() { started_.get_future().wait(); }

 private:
  ordered_json hold() {
    started_.set_value();
    const auto patience = std::chrono::seconds(100);  // only a test that has failed leaves it waiting
    return released_.get_future().wait_for(patience) == std::future_status::ready ? "released" : "forgotten";
  }

  ordered_json untilCancelled(const RequestContext& context) {
    started_.set_value();
    while (!context.cancellation.isCancelled()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return "what there was";
  }

  static ordered_json report(const RequestContext& context) {
    context.report({{"step", 1}});
    context.report({{"step", 2}});
    return "done";
  }

  std::promise<void> started_;
  std::promise<void> released_;
  int count_ = 0;
};

class Transport : public testing::Test {
 protected:
  explicit Transport(const TransportLimits& limits = {})
      : session_([this, limits](int input, int output) {
          const Dispatcher dispatcher = [this](const auto& method, const auto* params, const auto& context) {
            return operations_.run(method, params, context);
          };
          return serve(input, output, dispatcher, limits);
        }) {}

  std::string ask(std::string_view line) { return session_.ask(line); }

  static std::string request(std::string_view id, std::string_view method) {
    return R"({"jsonrpc":"2.0","id":)" + std::string(id) + R"(,"method":")" + std::string(method) + "\"}";
  }
  static std::string cancel(std::string_view id) {
    return R"({"jsonrpc":"2.0","method":"$/cancelRequest","params":{"id":)" + std::string(id) + "}}";
  }
  /// Checks that the next request works, with "count", which counts the requests that ran.
  void expectNextRequestWorks() {
    EXPECT_THAT(ask(request("\"next\"", "count")), StartsWith(R"({"jsonrpc":"2.0","id":"next","result":)"));
  }

  Operations operations_;
  RPCSession session_;
};

class TransportOfShortLines : public Transport {
 protected:
  TransportOfShortLines() : Transport({.lineBytes = 80, .waitingBytes = 400, .waitingLines = 4}) {}
};

// ---- requests and answers

TEST_F(Transport, AResponseCarriesTheIDOfItsRequest) {
  EXPECT_EQ(ask(R"({"jsonrpc":"2.0","id":1,"method":"params","params":{"a":[1,"b",null]}})"),
            R"({"jsonrpc":"2.0","id":1,"result":{"a":[1,"b",null]}})");
}

TEST_F(Transport, IDsAreStringsNumbersOrNullAndAreReturnedUnchanged) {
  for (const std::string id : {"0", "-7", "9007199254740993", "1.5", "\"\"", "\"a\\\"b\"", "\"ä\"", "null"}) {
    EXPECT_EQ(ask(request(id, "params")), R"({"jsonrpc":"2.0","id":)" + id + R"(,"result":"none"})");
  }
}

TEST_F(Transport, IDsOfOtherTypesAreRefused) {
  for (const std::string id : {"true", "[1]", "{\"a\":1}"}) {
    EXPECT_THAT(ask(request(id, "params")), StartsWith(kNoRequest)) << id;
  }
  expectNextRequestWorks();
}

TEST_F(Transport, AbsentAndNullParamsAreEquivalent) {
  EXPECT_THAT(ask(request("1", "params")), HasSubstr(R"("result":"none")"));
  EXPECT_THAT(ask(R"({"jsonrpc":"2.0","id":1,"method":"params","params":null})"), HasSubstr(R"("result":"none")"));
}

TEST_F(Transport, RequestsRunInOrderOfArrival) {
  session_.send(request("\"a\"", "count")).send(request("\"b\"", "count")).send(request("\"c\"", "count"));
  EXPECT_THAT(session_.finish(),
              ElementsAre(R"({"jsonrpc":"2.0","id":"a","result":1})", R"({"jsonrpc":"2.0","id":"b","result":2})",
                          R"({"jsonrpc":"2.0","id":"c","result":3})"));
}

TEST_F(Transport, SpaceAroundAValueAndCRLFAreAccepted) {
  EXPECT_THAT(ask("  " + request("1", "params") + " \t\r"), HasSubstr(R"("result":"none")"));
}

TEST_F(Transport, AResponseIsOneLineOfValidUTF8) {
  EXPECT_EQ(ask(R"({"jsonrpc":"2.0","id":1,"method":"params","params":{"a":"x\ny\u2028z"}})"),
            "{\"jsonrpc\":\"2.0\",\"id\":1,\"result\":{\"a\":\"x\\ny\u2028z\"}}");
  EXPECT_EQ(ask(request("1", "badText")), "{\"jsonrpc\":\"2.0\",\"id\":1,\"result\":\"a\uFFFDb\"}");
}

// ---- errors

TEST_F(Transport, AnErrorOfTheOperationHasCodeMessageAndData) {
  EXPECT_EQ(ask(request("1", "refuse")),
            R"({"jsonrpc":"2.0","id":1,"error":{"code":-32000,"message":"refused","data":{"path":"/a","errno":13}}})");
}

TEST_F(Transport, AnUnexpectedFailureIsAnInternalErrorAndTheProcessContinues) {
  EXPECT_THAT(ask(request("1", "break")),
              StartsWith(R"({"jsonrpc":"2.0","id":1,"error":{"code":-32603,"message":"internal error: broken")"));
  expectNextRequestWorks();
}

TEST_F(Transport, MissingMemoryIsAnErrorOfTheRequestAndTheProcessContinues) {
  EXPECT_THAT(ask(request("1", "fill")),
              StartsWith(R"({"jsonrpc":"2.0","id":1,"error":{"code":-32603,"message":"not enough memory")"));
  expectNextRequestWorks();
}

TEST_F(Transport, ALineThatIsNotJSONIsRefused) {
  for (const std::string_view line : {"garbage", "{", R"({"jsonrpc":"2.0","id":1,"method":"count")", "{} {}", "{'a':1}",
                                      "[1,]", "\"\xFF\"", R"("\ud800")", "NaN", "// comment", "\x01", "1e400"}) {
    EXPECT_THAT(ask(line), StartsWith(kNoJSON)) << line;
  }
  EXPECT_THAT(ask(std::string_view("{}\0", 3)), StartsWith(kNoJSON));
  expectNextRequestWorks();
}

TEST_F(Transport, AnErrorDoesNotRepeatALongLine) {
  EXPECT_LT(ask("\"" + std::string(100'000, 'x') + "\xFF\"").size(), 500U);
}

TEST_F(Transport, JSONThatIsNotARequestObjectIsRefused) {
  for (const std::string_view line :
       {"1", "\"text\"", "null", "true", "{}", R"({"jsonrpc":"2.0"})", R"({"jsonrpc":"2.0","method":1})",
        R"({"jsonrpc":"1.0","method":"count"})", R"({"method":"count"})", R"({"jsonrpc":2.0,"method":"count"})",
        R"({"jsonrpc":"2.0","method":"count","params":1})", R"({"jsonrpc":"2.0","method":"count","params":"x"})"}) {
    EXPECT_THAT(ask(line), StartsWith(kNoRequest)) << line;
  }
  expectNextRequestWorks();
}

TEST_F(Transport, ARefusedRequestKeepsAValidID) {
  EXPECT_THAT(ask(R"({"jsonrpc":"2.0","id":7})"), StartsWith(R"({"jsonrpc":"2.0","id":7,"error":{"code":-32600,)"));
}

TEST_F(Transport, NestingUpTo512LevelsIsAcceptedAndDeeperIsRefused) {
  const auto nested = [](std::size_t levels) {
    return R"({"jsonrpc":"2.0","id":1,"method":"count","params":{"a":)" + std::string(levels - 2, '[') +
           std::string(levels - 2, ']') + "}}";
  };
  EXPECT_THAT(ask(nested(512)), HasSubstr("\"result\":1"));
  EXPECT_THAT(ask(nested(513)), StartsWith(kNoJSON));
  EXPECT_THAT(ask(std::string(1'000'000, '[')), StartsWith(kNoJSON));
  expectNextRequestWorks();
}

TEST_F(TransportOfShortLines, ALineOverTheLimitIsRefusedAndSkippedToItsEnd) {
  EXPECT_THAT(ask(std::string(81, ' ')), StartsWith(kNoRequest));
  const std::string longest = request("1", "params") + std::string(80 - request("1", "params").size(), ' ');
  EXPECT_THAT(ask(longest), HasSubstr("\"result\":\"none\""));
  expectNextRequestWorks();
}

TEST_F(Transport, ALineOf64MiBIsAcceptedAndALongerOneIsRefused) {
  constexpr std::size_t kLimit = std::size_t{64} << 20;
  const std::string line(kLimit, 'x');
  EXPECT_THAT(ask(line), StartsWith(kNoJSON));
  EXPECT_THAT(ask(line + 'x'), StartsWith(kNoRequest));
  expectNextRequestWorks();
}

TEST_F(Transport, ALineOfFourMillionValuesIsAcceptedAndOneMoreIsRefused) {
  // The values of the request itself: the object, three members, the object of params and the array.
  const auto withValues = [](std::size_t count) {
    std::string line = R"({"jsonrpc":"2.0","id":1,"method":"count","params":{"a":[0)";
    line.reserve(line.size() + count * 2);
    for (std::size_t i = 7; i < count; ++i) line += ",0";
    return line + "]}}";
  };
  EXPECT_THAT(ask(withValues(4'000'000)), HasSubstr("\"result\":1"));
  EXPECT_THAT(ask(withValues(4'000'001)), StartsWith(kNoRequest));
  std::string empties = "[{}";
  for (int i = 0; i < 22'000'000; ++i) empties += ",{}";
  EXPECT_THAT(ask(empties + "]"), StartsWith(kNoRequest));
  expectNextRequestWorks();
}

TEST_F(Transport, AnEndlessLineIsRefusedWhileItArrives) {
  const std::string megabyte(1 << 20, 'x');
  for (int count = 0; count < 65; ++count) session_.sendBytes(megabyte);
  EXPECT_THAT(session_.receive(), StartsWith(kNoRequest));
  session_.sendBytes(megabyte).sendBytes("\n");
  expectNextRequestWorks();
}

// ---- notifications

TEST_F(Transport, NotificationsGetNoResponseAndDoNotRun) {
  session_.send(R"({"jsonrpc":"2.0","method":"count"})");
  session_.send(R"({"jsonrpc":"2.0","method":"noSuchMethod"})");
  session_.send(R"({"jsonrpc":"2.0","method":"initialized","params":{}})");
  EXPECT_EQ(ask(request("1", "count")), R"({"jsonrpc":"2.0","id":1,"result":1})");
  EXPECT_THAT(session_.finish(), IsEmpty());
}

TEST_F(Transport, ProgressCarriesTheRequestIDAndPrecedesTheResponse) {
  session_.send(request("\"x\"", "report"));
  EXPECT_THAT(session_.finish(),
              ElementsAre(R"({"jsonrpc":"2.0","method":"$/progress","params":{"id":"x","value":{"step":1}}})",
                          R"({"jsonrpc":"2.0","method":"$/progress","params":{"id":"x","value":{"step":2}}})",
                          R"({"jsonrpc":"2.0","id":"x","result":"done"})"));
}

// ---- batches

TEST_F(Transport, ABatchIsAnsweredAsOneArrayInOrder) {
  EXPECT_EQ(ask("[" + request("1", "count") + "," + request("2", "refuse") + "," + request("3", "count") + "]"),
            R"([{"jsonrpc":"2.0","id":1,"result":1},)"
            R"({"jsonrpc":"2.0","id":2,"error":{"code":-32000,"message":"refused","data":{"path":"/a","errno":13}}},)"
            R"({"jsonrpc":"2.0","id":3,"result":2}])");
}

TEST_F(Transport, ABatchOfOneIsAnsweredAsAnArray) {
  EXPECT_EQ(ask("[" + request("1", "count") + "]"), R"([{"jsonrpc":"2.0","id":1,"result":1}])");
}

TEST_F(Transport, AnEmptyBatchIsRefused) { EXPECT_THAT(ask("[]"), StartsWith(kNoRequest)); }

TEST_F(Transport, AnInvalidCallInABatchIsRefusedSeparately) {
  const json answer = json::parse(ask("[1," + request("1", "count") + ",[]]"));
  ASSERT_EQ(answer.size(), 3U);
  EXPECT_EQ(answer[0]["error"]["code"], -32600);
  EXPECT_EQ(answer[0]["id"], nullptr);
  EXPECT_EQ(answer[1]["result"], 1);
  EXPECT_EQ(answer[2]["error"]["code"], -32600);
}

TEST_F(Transport, NotificationsInABatchGetNoResponse) {
  const std::string notification = R"({"jsonrpc":"2.0","method":"count"})";
  EXPECT_EQ(ask("[" + notification + "," + request("1", "count") + "," + notification + "]"),
            R"([{"jsonrpc":"2.0","id":1,"result":1}])");
}

TEST_F(Transport, ABatchOfNotificationsGetsNoResponse) {
  session_.send(R"([{"jsonrpc":"2.0","method":"a"},{"jsonrpc":"2.0","method":"b"}])");
  EXPECT_EQ(ask(request("1", "count")), R"({"jsonrpc":"2.0","id":1,"result":1})");
}

TEST_F(Transport, ABatchOfTenThousandCallsIsAnsweredAndALargerOneIsRefused) {
  std::string calls = request("1", "params");
  for (int count = 1; count < 10'000; ++count) calls += "," + request("1", "params");
  EXPECT_EQ(json::parse(ask("[" + calls + "]")).size(), 10'000U);
  EXPECT_THAT(ask("[" + calls + "," + request("1", "params") + "]"), StartsWith(kNoRequest));
}

// ---- cancellation

TEST_F(Transport, ACancelledRunningRequestReturnsItsPartialResult) {
  session_.send(request("1", "untilCancelled"));
  operations_.waitForStart();
  session_.send(cancel("1"));
  EXPECT_EQ(session_.receive(), R"({"jsonrpc":"2.0","id":1,"result":"what there was"})");
}

// The running request is cancelled last, so it ends when everything before has been read.

TEST_F(Transport, AWaitingRequestIsRefusedWhenItsTurnComes) {
  session_.send(request("1", "untilCancelled"));
  operations_.waitForStart();
  session_.send("garbage").send(request("\"a\"", "count")).send(request("\"b\"", "count"));
  session_.send(cancel("\"a\"")).send(cancel("1"));
  EXPECT_THAT(session_.finish(), ElementsAre(HasSubstr("\"what there was\""), StartsWith(kNoJSON),
                                             StartsWith(R"({"jsonrpc":"2.0","id":"a","error":{"code":-32800,)"),
                                             R"({"jsonrpc":"2.0","id":"b","result":1})"));
}

TEST_F(Transport, ACancellationDistinguishesTheTypesOfIDs) {
  session_.send(request("1", "untilCancelled"));
  operations_.waitForStart();
  session_.send(request("2", "count")).send(cancel("\"2\"")).send(cancel("3")).send(cancel("[2]"));
  session_.send(R"({"jsonrpc":"2.0","method":"$/cancelRequest"})");
  session_.send(R"({"jsonrpc":"2.0","method":"$/cancelRequest","params":[2]})");
  session_.send(cancel("1"));
  EXPECT_THAT(session_.finish(), ElementsAre(testing::_, R"({"jsonrpc":"2.0","id":2,"result":1})"));
}

TEST_F(Transport, TheNameOfTheCancellationMayContainEscapes) {
  session_.send(request("1", "untilCancelled"));
  operations_.waitForStart();
  EXPECT_THAT(ask(R"({"jsonrpc":"2.0","method":"$\/cancel\u0052equest","params":{"id":1}})"),
              HasSubstr("what there was"));
}

TEST_F(Transport, ACancellationDoesNotAffectLaterRequests) {
  EXPECT_THAT(ask(request("1", "count")), HasSubstr("\"result\":1"));
  session_.send(cancel("1"));
  EXPECT_THAT(ask(request("1", "count")), HasSubstr("\"result\":2"));
}

TEST_F(Transport, ACancellationInABatchAffectsEarlierCalls) {
  const json answer =
      json::parse(ask("[" + request("1", "count") + "," + cancel("1") + "," + request("1", "count") + "]"));
  ASSERT_EQ(answer.size(), 2U);
  EXPECT_EQ(answer[0]["error"]["code"], -32800);
  EXPECT_EQ(answer[1]["result"], 1);
}

TEST_F(Transport, ACallInARunningBatchCanBeCancelled) {
  session_.send("[" + request("1", "untilCancelled") + "," + request("2", "count") + "]");
  operations_.waitForStart();
  session_.send(cancel("2")).send(cancel("1"));
  const json answer = json::parse(session_.receive());
  EXPECT_EQ(answer[0]["result"], "what there was");
  EXPECT_EQ(answer[1]["error"]["code"], -32800);
}

TEST_F(Transport, CancellingIsNotAMethod) {
  EXPECT_THAT(ask(R"({"jsonrpc":"2.0","id":1,"method":"$/cancelRequest","params":{"id":1}})"), HasSubstr("-32601"));
}

// ---- limits, end of input, a client that goes away

TEST_F(TransportOfShortLines, TheQueueIsBoundedAndLosesNothing) {
  session_.send(request("1", "hold"));
  operations_.waitForStart();
  std::string lines;
  constexpr int kRequests = 4'000;
  for (int count = 0; count < kRequests; ++count) lines += request("2", "count") + "\n";
  const std::size_t sent = session_.sendWithoutWaiting(lines);
  // A pipe holds 64 KiB, the reader one chunk of the same size, the queue four lines.
  EXPECT_LT(sent, std::size_t{140'000});
  operations_.release();
  session_.sendBytes(std::string_view(lines).substr(sent));
  const std::vector<std::string> answers = session_.finish();
  ASSERT_EQ(answers.size(), static_cast<std::size_t>(kRequests) + 1);
  EXPECT_EQ(answers.back(), R"({"jsonrpc":"2.0","id":2,"result":4000})");
}

TEST_F(Transport, AtTheEndOfTheInputAllRequestsAreAnsweredAndTheStatusIsZero) {
  session_.send(request("1", "hold"));
  operations_.waitForStart();
  session_.send(request("2", "count")).sendBytes(request("3", "count"));
  operations_.release();
  EXPECT_THAT(session_.finish(), ElementsAre(HasSubstr("\"released\""), HasSubstr("\"id\":2"), HasSubstr("\"id\":3")));
  EXPECT_EQ(session_.status(), 0);
}

TEST_F(Transport, AnInputThatEndsInsideARequestIsNotJSON) {
  session_.send(request("1", "count")).sendBytes(R"({"jsonrpc":"2.0","id":2,"meth)");
  EXPECT_THAT(session_.finish(), ElementsAre(HasSubstr("\"result\":1"), StartsWith(kNoJSON)));
  EXPECT_EQ(session_.status(), 0);
}

TEST_F(Transport, EmptyInputIsValid) {
  EXPECT_THAT(session_.finish(), IsEmpty());
  EXPECT_EQ(session_.status(), 0);
}

TEST_F(Transport, AClosedOutputCancelsAllRequests) {
  session_.send(request("1", "untilCancelled"));
  operations_.waitForStart();
  session_.send(request("2", "count"));
  session_.stopListening();
  EXPECT_EQ(session_.status(), 0);
}

TEST_F(Transport, AClosedOutputEndsAnIdleServer) {
  session_.stopListening();
  EXPECT_EQ(session_.status(), 0);
}

TEST_F(Transport, ABatchWhoseAnswersReachTheirLimitHasItsFurtherRequestsRefused) {
  const std::string call = R"({"jsonrpc":"2.0","id":1,"method":"large"})";
  std::string batch = "[" + call;
  for (int i = 0; i < 99; ++i) batch += "," + call;
  const std::string answer = ask(batch + "]");
  EXPECT_LT(answer.size(), kMostAnswerBytesInABatch + (2u << 20));
  EXPECT_GT(answer.size(), kMostAnswerBytesInABatch);
  EXPECT_THAT(answer, HasSubstr(R"("code":-32001)"));
}

TEST_F(Transport, BlankLinesAreIgnored) {
  session_.send("").send("  \t").send("\r").send(request("1", "count"));
  EXPECT_THAT(session_.finish(), ElementsAre(R"({"jsonrpc":"2.0","id":1,"result":1})"));
}

// ---- several lines at the same time

/// Operations that wait for each other.
class Gate {
 public:
  /// Counts the callers inside, and returns when the gate opens or the request is cancelled.
  ordered_json pass(const RequestContext& context) {
    std::unique_lock lock(mutex_);
    most_ = std::max(most_, ++inside_);
    changed_.notify_all();
    const auto isFree = [&] { return isOpen_ || context.cancellation.isCancelled(); };
    while (!isFree()) changed_.wait_for(lock, std::chrono::milliseconds(1));
    --inside_;
    return isOpen_ ? "passed" : "cancelled";
  }
  void open() {
    const std::lock_guard lock(mutex_);
    isOpen_ = true;
    changed_.notify_all();
  }
  /// Waits until so many callers are inside.
  bool holds(int count) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(100), [&] { return inside_ == count; });
  }
  /// The most callers that were inside at the same time.
  int most() {
    const std::lock_guard lock(mutex_);
    return most_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  int inside_ = 0;
  int most_ = 0;
  bool isOpen_ = false;
};

class ConcurrentTransport : public testing::Test {
 protected:
  ~ConcurrentTransport() override { gate_.open(); }

  RPCSession& session() { return session_; }
  static std::string line(const std::string& id, const std::string& method) {
    return R"({"jsonrpc":"2.0","id":)" + id + R"(,"method":")" + method + "\"}";
  }
  static std::string cancel(const std::string& id) {
    return R"({"jsonrpc":"2.0","method":"$/cancelRequest","params":{"id":)" + id + "}}";
  }

  Gate gate_;

 private:
  const Dispatcher dispatcher_ = [this](const std::string& method, const JSONValue* /*params*/,
                                        const RequestContext& context) -> ordered_json {
    return method == "pass" ? gate_.pass(context) : ordered_json(method);
  };
  const IsQuick isQuick_ = [](const std::string& method) { return method == "quick"; };
  RPCSession session_{
      [this](int input, int output) { return serve(input, output, dispatcher_, {.runningLines = 2}, isQuick_); }};
};

TEST_F(ConcurrentTransport, RunsAsManyLinesAsAllowedAndAnswersEachWhenItIsDone) {
  for (const char* id : {"1", "2", "3", "4"}) session().send(line(id, "pass"));
  ASSERT_TRUE(gate_.holds(2));
  session().send(cancel("2"));
  EXPECT_EQ(session().receive(), R"({"jsonrpc":"2.0","id":2,"result":"cancelled"})");
  ASSERT_TRUE(gate_.holds(2)) << "another line takes the free place";
  gate_.open();
  EXPECT_EQ(session().finish().size(), 3u);
  EXPECT_EQ(gate_.most(), 2);
}

TEST_F(ConcurrentTransport, QuickRequestsDoNotWaitForLongOnes) {
  for (const char* id : {"1", "2", "3"}) session().send(line(id, "pass"));
  ASSERT_TRUE(gate_.holds(2));
  EXPECT_EQ(session().ask(line("9", "quick")), R"({"jsonrpc":"2.0","id":9,"result":"quick"})");
  session().send("[" + line("5", "quick") + "," + line("6", "other") + "]").send(line("7", "quick"));
  EXPECT_EQ(session().receive(), R"({"jsonrpc":"2.0","id":7,"result":"quick"})") << "a batch is as slow as its slowest";
  EXPECT_THAT(session().ask("garbage"), StartsWith(kNoJSON)) << "a refusal is quick";
  gate_.open();
  EXPECT_EQ(session().finish().size(), 4u);
}

TEST_F(ConcurrentTransport, EveryRequestIsAnsweredOnceWhateverIsCancelled) {
  gate_.open();
  constexpr int kRequests = 2'000;
  for (int id = 0; id < kRequests; ++id) {
    session().send(line(std::to_string(id), id % 3 == 0 ? "quick" : id % 7 == 0 ? "other" : "pass"));
    if (id % 5 == 0) session().send(cancel(std::to_string(id * 7919 % kRequests)));
  }
  std::set<int> answered;
  for (const std::string& answer : session().finish()) {
    EXPECT_TRUE(answered.insert(json::parse(answer)["id"].get<int>()).second) << answer;
  }
  EXPECT_EQ(answered.size(), static_cast<std::size_t>(kRequests));
}

TEST_F(ConcurrentTransport, AClosedOutputCancelsEveryRunningLine) {
  session().send(line("1", "pass")).send(line("2", "pass")).send(line("3", "pass"));
  ASSERT_TRUE(gate_.holds(2));
  session().stopListening();
  EXPECT_EQ(session().status(), 0);
  EXPECT_EQ(gate_.most(), 2) << "the third line must not start";
}

}  // namespace
}  // namespace quarn::transport_tests
