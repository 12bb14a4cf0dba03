#include "quarn/terminal/ProgressLine.h"

#include <csignal>
#include <cstdio>
#include <system_error>

#include <fmt/format.h>

#include "QuarnPlatform/base/HelperThread.h"
#include "quarn/terminal/CountText.h"
#include "quarn/terminal/TerminalText.h"

namespace quarn {

ProgressLine::ProgressLine(std::size_t width, std::function<Read()> read) : width_(width), read_(std::move(read)) {
  if (!read_) return;
  // The new thread inherits the mask: signals are for the other threads.
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  try {
    thread_ = std::thread([this] { run(); });
  } catch (const std::system_error&) {
    // Steps are shown without it.
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

ProgressLine::~ProgressLine() {
  end();
  {
    const std::lock_guard lock(mutex_);
    isEnding_ = true;
  }
  changed_.notify_all();
  if (thread_.joinable()) thread_.join();
}

void ProgressLine::begin(std::string_view step) {
  const std::lock_guard lock(mutex_);
  if (!isWorking_) {
    since_ = Clock::now();
    itemsBefore_ = read_ ? read_().items : 0;
    isWorking_ = true;
    changed_.notify_all();
  }
  step_ = step;
  if (!step.empty()) paint(step_ + readText(Clock::now()));
}

void ProgressLine::end() {
  const std::lock_guard lock(mutex_);
  if (isShown_) std::fputs("\r\x1B[K", stderr);
  isShown_ = isWorking_ = false;
  step_.clear();
}

void ProgressLine::run() {
  becomeHelperThread();
  std::unique_lock lock(mutex_);
  while (!isEnding_) {
    if (!isWorking_) {
      changed_.wait(lock);
      continue;
    }
    changed_.wait_for(lock, kInterval);
    const std::string read = isWorking_ && !isEnding_ ? readText(Clock::now()) : "";
    if (!read.empty()) paint(step_.empty() ? read.substr(2) : step_ + read);
  }
}

// Two spaces, the count, the speed and the folder; empty in the beginning.
std::string ProgressLine::readText(Clock::time_point now) const {
  if (!read_ || now - since_ < kSilence) return "";
  const Read read = read_();
  const std::uint64_t items = read.items - itemsBefore_;
  const double seconds = std::chrono::duration<double>(now - since_).count();
  return fmt::format("  {}, {}/s  {}", countText(items, "item"),
                     static_cast<std::uint64_t>(static_cast<double>(items) / seconds), read.folder);
}

void ProgressLine::paint(std::string_view text) {
  std::fprintf(stderr, "\r\x1B[K%s", fittedToWidth(escapedForTerminal(text), width_ - 1).c_str());
  std::fflush(stderr);
  isShown_ = true;
}

}  // namespace quarn
