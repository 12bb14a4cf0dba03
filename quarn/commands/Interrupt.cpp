#include "quarn/commands/Interrupt.h"

#include <csignal>
#include <system_error>
#include <thread>

#include "QuarnPlatform/files/HostFile.h"

namespace quarn {

// A thread waits for the signal, because a signal handler may call almost nothing. The thread runs until the process
// exits.
Cancellation interruptedFlag() {
  Cancellation flag;
  sigset_t interrupts;
  sigemptyset(&interrupts);
  sigaddset(&interrupts, SIGINT);
  if (pthread_sigmask(SIG_BLOCK, &interrupts, nullptr) != 0) return flag;
  try {
    std::thread([flag, interrupts] {
      int signal = 0;
      sigwait(&interrupts, &signal);
      flag.cancel();
      sigwait(&interrupts, &signal);
      removeUnfinishedFile();
      std::_Exit(128 + SIGINT);
    }).detach();
  } catch (const std::system_error&) {
    // Without a thread to wait for it Ctrl-C ends the process, as it does elsewhere.
    pthread_sigmask(SIG_UNBLOCK, &interrupts, nullptr);
  }
  return flag;
}

}  // namespace quarn
