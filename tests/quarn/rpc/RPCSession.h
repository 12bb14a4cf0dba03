#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "QuarnPlatform/base/FileDescriptor.h"

namespace quarn {

/// A server on a thread of its own, spoken to over pipes as a shell does: lines in, lines out. What it answers is
/// collected at once, so that neither side waits for the other. Fails the test instead of waiting for ever.
class RPCSession {
 public:
  /// What is served: input and output descriptor to exit status.
  using Server = std::function<int(int, int)>;

  explicit RPCSession(Server server);
  /// Ends the input and waits for the server.
  ~RPCSession();
  RPCSession(const RPCSession&) = delete;
  RPCSession& operator=(const RPCSession&) = delete;

  /// Sends a line; the "\n" is added.
  RPCSession& send(std::string_view line);
  /// Sends bytes as they are.
  RPCSession& sendBytes(std::string_view bytes);
  /// Sends as much as the server takes without waiting; how much that was.
  std::size_t sendWithoutWaiting(std::string_view bytes);

  /// The next line that the server writes, without its "\n".
  std::string receive();
  /// Sends a line and receives one.
  std::string ask(std::string_view line) { return send(line).receive(); }

  /// Ends the input; what the server still writes, line by line.
  std::vector<std::string> finish();
  /// Stops reading what the server writes, as a shell that ends does.
  void stopListening();
  /// The server's exit status, once it has ended.
  int status();

 private:
  void collect();

  FileDescriptor toServer_;
  FileDescriptor stopReading_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::string> lines_;
  bool hasEnded_ = false;
  int status_ = -1;
  FileDescriptor fromServer_;
  FileDescriptor stopped_;
  std::thread server_;
  std::thread collector_;
};

}  // namespace quarn
