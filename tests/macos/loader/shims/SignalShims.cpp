// Signals: other numbers for some, and sets of 32 bits.
#include <algorithm>
#include <array>
#include <atomic>

#include <pthread.h>
#include <signal.h>

#include "tests/macos/loader/Shims.h"

namespace quarn::loader {
namespace {

struct SignalRow {
  int darwin, here;
};

constexpr std::array kSignals = std::to_array<SignalRow>({{10, SIGBUS},
                                                          {12, SIGSYS},
                                                          {16, SIGURG},
                                                          {17, SIGSTOP},
                                                          {18, SIGTSTP},
                                                          {19, SIGCONT},
                                                          {20, SIGCHLD},
                                                          {23, SIGIO},
                                                          {30, SIGUSR1},
                                                          {31, SIGUSR2}});
constexpr int kDarwinSignals = 32;

int hereSignal(int darwin) {
  const auto* row =
      std::find_if(kSignals.begin(), kSignals.end(), [&](const SignalRow& r) { return r.darwin == darwin; });
  return row == kSignals.end() ? darwin : row->here;
}

int darwinSignal(int here) {
  const auto* row = std::find_if(kSignals.begin(), kSignals.end(), [&](const SignalRow& r) { return r.here == here; });
  return row == kSignals.end() ? here : row->darwin;
}

sigset_t hereSet(std::uint32_t bits) {
  sigset_t set;
  sigemptyset(&set);
  for (int signal = 1; signal < kDarwinSignals; ++signal) {
    if ((bits & (1u << (signal - 1))) != 0) sigaddset(&set, hereSignal(signal));
  }
  return set;
}

std::uint32_t darwinSet(const sigset_t& set) {
  std::uint32_t bits = 0;
  for (int signal = 1; signal < kDarwinSignals; ++signal) {
    if (sigismember(&set, hereSignal(signal)) == 1) bits |= 1u << (signal - 1);
  }
  return bits;
}

int changeMask(int how, const std::uint32_t* set, std::uint32_t* before) {
  sigset_t wanted{};
  sigset_t old{};
  if (set != nullptr) wanted = hereSet(*set);
  const int result = ::pthread_sigmask(how - 1, set != nullptr ? &wanted : nullptr, &old);
  if (before != nullptr) *before = darwinSet(old);
  return result;
}

int waitForSignal(const std::uint32_t* set, int* signal) {
  const sigset_t wanted = hereSet(*set);
  const int result = ::sigwait(&wanted, signal);
  if (result == 0) *signal = darwinSignal(*signal);
  return result;
}

using Handler = void (*)(int);

// A program's handlers are called with macOS's numbers.
std::array<std::atomic<Handler>, NSIG> handlers;
void onSignal(int here) { handlers[static_cast<std::size_t>(here)].load()(darwinSignal(here)); }

Handler handlerHere(int here, Handler handler) {
  if (handler == SIG_DFL || handler == SIG_IGN) return handler;
  handlers[static_cast<std::size_t>(here)] = handler;
  return onSignal;
}

struct SignalFlagRow {
  int darwin, here;
};
constexpr std::array kSignalFlags = std::to_array<SignalFlagRow>(
    {{2, SA_RESTART}, {4, static_cast<int>(SA_RESETHAND)}, {8, SA_NOCLDSTOP}, {0x10, SA_NODEFER}});

int signalFlagsHere(int darwin) {
  int flags = 0;
  for (const SignalFlagRow& row : kSignalFlags) flags |= (darwin & row.darwin) != 0 ? row.here : 0;
  return flags;
}

// What is saved and set again must not lose a flag.
int darwinSignalFlags(int here) {
  int flags = 0;
  for (const SignalFlagRow& row : kSignalFlags) flags |= (here & row.here) != 0 ? row.darwin : 0;
  return flags;
}

struct DarwinAction {
  Handler handler;
  std::uint32_t mask;
  int flags;
};

int setAction(int signal, const DarwinAction* now, DarwinAction* before) {
  const int here = hereSignal(signal);
  const Handler handlerBefore = handlers[static_cast<std::size_t>(here)];
  struct sigaction action {};
  struct sigaction old {};
  if (now != nullptr) {
    action.sa_handler = handlerHere(here, now->handler);
    action.sa_mask = hereSet(now->mask);
    action.sa_flags = signalFlagsHere(now->flags);
  }
  const int result = ::sigaction(here, now != nullptr ? &action : nullptr, &old);
  if (before != nullptr) {
    *before = {old.sa_handler == onSignal ? handlerBefore : old.sa_handler, darwinSet(old.sa_mask),
               darwinSignalFlags(old.sa_flags)};
  }
  return result;
}

Handler setHandler(int signal, Handler handler) {
  const int here = hereSignal(signal);
  const Handler handlerBefore = handlers[static_cast<std::size_t>(here)];
  const Handler old = ::signal(here, handlerHere(here, handler));
  return old == onSignal ? handlerBefore : old;
}

int sendSignal(pid_t process, int signal) { return ::kill(process, hereSignal(signal)); }
int raiseSignal(int signal) { return ::raise(hereSignal(signal)); }

}  // namespace

std::span<const Shim> signalShims() {
  static const std::array shims{
      shim("pthread_sigmask", changeMask), shim("sigprocmask", changeMask), shim("sigwait", waitForSignal),
      shim("sigaction", setAction),        shim("kill", sendSignal),        shim("raise", raiseSignal),
      shim("signal", setHandler)};
  return shims;
}

}  // namespace quarn::loader
