#include "tests/quarn/browse/Tmux.h"

#include <chrono>
#include <fstream>
#include <thread>

#include <unistd.h>

#include "tests/quarn/commands/CommandRun.h"

namespace quarn {
namespace {

constexpr auto kProgram = "/usr/bin/tmux";
constexpr std::chrono::seconds kGenerous{60};

std::string quoted(const std::string& word) {
  std::string result = "'";
  for (const char character : word) result += character == '\'' ? "'\\''" : std::string(1, character);
  return result + "'";
}

std::string withoutEmptyEnd(std::string text) {
  text.erase(text.find_last_not_of(" \n") + 1);
  return text;
}

}  // namespace

bool Tmux::isAvailable() { return ::access(kProgram, X_OK) == 0; }

Tmux::Tmux(std::size_t width, std::size_t height) : width_(width), height_(height) {
  folder_.text("/settings", "set -g status off\nset -sg escape-time 0\n");
}

Tmux::~Tmux() { (void)run({"kill-server"}); }

std::string Tmux::run(std::vector<std::string> words) const {
  std::vector<std::string> all{"-u", "-S", folder_.root() + "/socket", "-f", folder_.root() + "/settings"};
  all.insert(all.end(), words.begin(), words.end());
  return runProgram(kProgram, all, "", {"LC_ALL=C.UTF-8"}).out;
}

void Tmux::start(const std::vector<std::string>& words, const std::vector<std::string>& environment) {
  std::string line = "env -i PATH=/usr/bin:/bin HOME=/root QUARN_CONFIG= TERM=screen LC_ALL=C.UTF-8";
  for (const std::string& variable : environment) line += " " + quoted(variable);
  for (const std::string& word : words) line += " " + quoted(word);
  line += "; printf 'exit code %d\\n' $?; exec cat > /dev/null";
  (void)run({"new-session", "-d", "-x", std::to_string(width_), "-y", std::to_string(height_), line});
}

void Tmux::press(const std::vector<std::string>& keys) {
  std::vector<std::string> words{"send-keys"};
  words.insert(words.end(), keys.begin(), keys.end());
  (void)run(words);
}

void Tmux::resize(std::size_t width, std::size_t height) {
  (void)run({"resize-window", "-x", std::to_string(width), "-y", std::to_string(height)});
}

std::string Tmux::screen() const { return withoutEmptyEnd(run({"capture-pane", "-p"})); }

std::string Tmux::screenWithColors() const { return run({"capture-pane", "-p", "-e"}); }

std::string Tmux::waitFor(const std::function<bool(const std::string&)>& condition) const {
  const auto end = std::chrono::steady_clock::now() + kGenerous;
  std::string last = screen();
  while (!condition(last) && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    last = screen();
  }
  return last;
}

std::string Tmux::waitFor(std::string_view text) const {
  return waitFor([text](const std::string& now) { return now.find(text) != std::string::npos; });
}

std::string Tmux::format(const std::string& text) const {
  return withoutEmptyEnd(run({"display-message", "-p", text}));
}

int Tmux::process() const {
  const std::string shell = format("#{pane_pid}");
  std::ifstream children("/proc/" + shell + "/task/" + shell + "/children");
  int process = 0;
  children >> process;
  return process;
}

std::string Tmux::modes() const { return runProgram("/usr/bin/stty", {"-a", "-F", format("#{pane_tty}")}).out; }

}  // namespace quarn
