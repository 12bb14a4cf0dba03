// browse_keys DIR: walks DIR into the browser's tree and presses keys, while it is being read and afterwards. Prints
// how long the browser took from a key to its picture. On a terminal, the picture is also written to the terminal.

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <string_view>
#include <thread>
#include <vector>

#include <unistd.h>

#include "QuarnPlatform/files/FileManager.h"
#include "quarn/browse/BrowseFill.h"
#include "quarn/browse/BrowseScreen.h"
#include "quarn/browse/BrowseSession.h"

namespace {

using quarn::BrowseKey;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kKeysAfterwards = 3'000;
constexpr std::chrono::milliseconds kBetweenKeys{10};

constexpr BrowseKey letter(char32_t character) { return {.code = BrowseKey::Code::character, .character = character}; }
constexpr std::array kKeys{
    BrowseKey{BrowseKey::Code::down},
    letter(U'j'),
    BrowseKey{BrowseKey::Code::pageDown},
    letter(U's'),
    BrowseKey{BrowseKey::Code::end},
    letter(U'/'),
    letter(U'1'),
    letter(U'0'),
    BrowseKey{BrowseKey::Code::escape},
    letter(U'a'),
    BrowseKey{BrowseKey::Code::home},
    letter(U' '),
    BrowseKey{BrowseKey::Code::home},
    letter(U' '),
    BrowseKey{BrowseKey::Code::home},
    BrowseKey{BrowseKey::Code::enter},
    letter(U'i'),
    letter(U'j'),
    letter(U'i'),
    BrowseKey{BrowseKey::Code::enter},
    letter(U'k'),
    letter(U'h'),
    letter(U'h'),
};

/// Presses the same keys again and again until it has enough, then "q". Measures each.
class TimedScreen final : public quarn::BrowseScreen {
 public:
  TimedScreen(const quarn::BrowseFeed& feed, std::unique_ptr<quarn::BrowseScreen> terminal)
      : feed_(feed), terminal_(std::move(terminal)) {}

  Size size() override { return terminal_ ? terminal_->size() : Size{.width = 200, .height = 60}; }
  bool isUTF8() override { return true; }
  void show(const std::vector<quarn::ScreenLine>& lines) override {
    if (terminal_) terminal_->show(lines);
    if (pressedAt_ == Clock::time_point()) return;
    (isReading_ ? whileReading : afterwards).push_back(Clock::now() - pressedAt_);
    pressedAt_ = {};
  }
  BrowseKey read(std::chrono::milliseconds /*wait*/) override {
    isReading_ = feed_.state().isFilling;
    // A person presses a key now and then; the pause lets the worker do what it does between keys.
    std::this_thread::sleep_for(kBetweenKeys);
    if (afterwards.size() >= kKeysAfterwards) return {.code = BrowseKey::Code::interrupt};
    const BrowseKey key = kKeys[next_++ % kKeys.size()];
    pressedAt_ = Clock::now();
    return key;
  }

  std::vector<Clock::duration> whileReading;
  std::vector<Clock::duration> afterwards;

 private:
  const quarn::BrowseFeed& feed_;
  std::unique_ptr<quarn::BrowseScreen> terminal_;
  std::size_t next_ = 0;
  bool isReading_ = true;
  Clock::time_point pressedAt_{};
};

void print(std::string_view when, std::vector<Clock::duration> times) {
  std::sort(times.begin(), times.end());
  const auto at = [&](double share) {
    const std::size_t last = times.size() - 1;
    return std::chrono::duration<double, std::milli>(times[static_cast<std::size_t>(share * static_cast<double>(last))])
        .count();
  };
  if (times.empty()) return;
  std::fprintf(stderr, "%.*s: %zu keys, ms per key: median %.2f, 99%% %.2f, most %.2f\n", static_cast<int>(when.size()),
               when.data(), times.size(), at(0.5), at(0.99), at(1));
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) {
    std::fputs("usage: browse_keys DIR\n", stderr);
    return 2;
  }
  const quarn::FileManager files = quarn::FileManager::mounted(arguments[1], quarn::FileURL());
  quarn::BrowseTree tree("/");
  quarn::BrowseFeed feed;
  feed.endKnowledge(nullptr);
  const Clock::time_point start = Clock::now();
  Clock::duration reading{};
  std::thread filler([&] {
    quarn::fillFromFolder(tree, files, quarn::FileURL(), quarn::Cancellation::never());
    reading = Clock::now() - start;
    feed.endFilling();
  });
  std::vector<Clock::duration> whileReading;
  std::vector<Clock::duration> afterwards;
  {
    TimedScreen screen(feed, ::isatty(STDOUT_FILENO) == 1 ? quarn::openTerminalScreen(/*usesColors=*/true) : nullptr);
    quarn::BrowseSession session(screen, tree, feed, {});
    (void)session.run();
    whileReading = screen.whileReading;
    afterwards = screen.afterwards;
  }
  filler.join();
  const quarn::BrowseTree::Item top = tree.item(quarn::BrowseTree::kTop);
  std::fprintf(stderr, "%zu items, %lld files, read in %.2f s, %.1f bytes per item with names\n", tree.size(),
               static_cast<long long>(top.files), std::chrono::duration<double>(reading).count(),
               static_cast<double>(tree.bytesInUse()) / static_cast<double>(tree.size()));
  print("while reading", whileReading);
  print("afterwards", afterwards);
  return 0;
}
