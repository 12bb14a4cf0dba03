#include "quarn/commands/Interrupt.h"

#include <csignal>
#include <thread>

namespace quarn {

// A thread waits for the signal, because a handler may touch next to nothing. It lives as long as the process.
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
