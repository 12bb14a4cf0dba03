#include "quarn/commands/Interrupt.h"

#include <csignal>
#include <thread>

namespace quarn {

// A thread waits for the signal, because a signal handler may call almost nothing. The thread runs until the process
// exits.
Cancellation interruptedFlag() {
  Cancellation flag;
  sigset_t interrupts;
  sigemptyset(&interrupts);
  sigaddset(&interrupts, SIGINT);
  if (pthread_sigmask(SIG_BLOCK, &interrupts, nullptr) != 0) return flag;
  std::thread([flag, interrupts] {
    int signal = 0;
    sigwait(&interrupts, &signal);
    flag.cancel();
    sigwait(&interrupts, &signal);
    std::_Exit(128 + SIGINT);
  }).detach();
  return flag;
}

}  // namespace quarn
