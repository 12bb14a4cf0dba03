#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/MacVolume.h"

namespace quarn {

/// A terminal of a given size, in which a program runs. It belongs to a tmux server of its own, which ends with it.
class Tmux {
 public:
  Tmux(std::size_t width, std::size_t height);
  ~Tmux();
  Tmux(const Tmux&) = delete;
  Tmux& operator=(const Tmux&) = delete;

  /// False if this machine has no tmux.
  static bool isAvailable();

  /// Starts the command in a shell. When it ends, "exit code N" is on the screen, and the shell waits for input with
  /// the modes that the command left.
  void start(const std::vector<std::string>& words, const std::vector<std::string>& environment = {});
  /// Sends keys by their names in tmux: "Down", "Enter", "q".
  void press(const std::vector<std::string>& keys);
  void resize(std::size_t width, std::size_t height);
  /// The lines of the screen, without blanks at the ends of lines and without empty lines at the end.
  [[nodiscard]] std::string screen() const;
  /// The same with the sequences of colours and emphasis.
  [[nodiscard]] std::string screenWithColors() const;
  /// Waits for a screen that the condition accepts, and returns it; after a generous time the last one.
  std::string waitFor(const std::function<bool(const std::string&)>& condition) const;
  /// The same for a screen that contains the text.
  std::string waitFor(std::string_view text) const;
  /// The process of the program.
  [[nodiscard]] int process() const;
  /// The terminal's modes as `stty -a` prints them.
  [[nodiscard]] std::string modes() const;
  /// A format of tmux, as "#{alternate_on}".
  [[nodiscard]] std::string format(const std::string& text) const;

 private:
  std::string run(std::vector<std::string> words) const;

  MacVolume folder_;  // of the socket and the settings
  std::size_t width_;
  std::size_t height_;
};

}  // namespace quarn
