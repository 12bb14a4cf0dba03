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

/// A server on another thread, connected through pipes like a client: lines in, lines out. Reads the responses at
/// once, so that neither side blocks. Fails the test instead of waiting forever.
class RPCSession {
 public:
  /// The server: takes the input and output descriptors and returns the exit status.
  using Server = std::function<int(int, int)>;

  explicit RPCSession(Server server);
  /// Ends the input and waits for the server.
  ~RPCSession();
  RPCSession(const RPCSession&) = delete;
  RPCSession& operator=(const RPCSession&) = delete;

  /// Sends a line; adds "\n".
  RPCSession& send(std::string_view line);
  /// Sends raw bytes.
  RPCSession& sendBytes(std::string_view bytes);
  /// Sends as much as possible without blocking; returns the number of bytes.
  std::size_t sendWithoutWaiting(std::string_view bytes);

  /// The next line from the server, without "\n".
  std::string receive();
  /// Sends a line and receives one.
  std::string ask(std::string_view line) { return send(line).receive(); }

  /// Ends the input and returns the remaining lines.
  std::vector<std::string> finish();
  /// Closes the output of the server, as a client that exits does.
  void stopListening();
  /// The exit status of the server, after it has ended.
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
