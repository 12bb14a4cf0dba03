#include <atomic>
#include <filesystem>
#include <iterator>
#include <latch>
#include <string>

#include <gtest/gtest.h>

#include "quarn/rpc/Transport.h"
#include "tests/quarn/rpc/RPCSession.h"

namespace quarn::transport_threads_tests_linux {
namespace {

auto threadsOfThisProcess() {
  const std::filesystem::directory_iterator tasks("/proc/self/task");
  return std::distance(begin(tasks), end(tasks));
}

// A thread that has ended may still be listed, so the counts are upper bounds.
TEST(TransportThreads, StartWhenARequestFindsNoIdleOne) {
  const auto before = threadsOfThisProcess();
  std::latch end(1);
  std::atomic<int> running = 0;
  const Dispatcher dispatcher = [&](const std::string&, const JSONValue*, const RequestContext&) {
    ++running;
    running.notify_all();
    end.wait();
    return nlohmann::ordered_json("done");
  };
  const IsQuick isQuick = [](const std::string&) { return false; };
  RPCSession session(
      [&](int input, int output) { return serve(input, output, dispatcher, {.runningLines = 16}, isQuick); });
  for (int sent = 1; sent <= 2; ++sent) {
    session.send(R"({"jsonrpc":"2.0","id":)" + std::to_string(sent) + R"(,"method":"wait"})");
    running.wait(sent - 1);
    EXPECT_LE(threadsOfThisProcess(), before + 2 + sent) << "both ends of the session, and a thread for each request";
  }
  end.count_down();
  EXPECT_EQ(session.finish().size(), 2U);
}

}  // namespace
}  // namespace quarn::transport_threads_tests_linux
