#include "QuarnSystem/DiagnosticsLogger.h"

#include <array>
#include <atomic>
#include <mutex>
#include <shared_mutex>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <spdlog/async_logger.h>
#include <spdlog/details/thread_pool.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/basic_file_sink.h>

#include "QuarnPlatform/base/FileDescriptor.h"
#include "QuarnPlatform/text/Text.h"

namespace quarn {
namespace {

constexpr std::size_t kQueuedLines = 8192;
constexpr const char* kLinePattern = "%Y-%m-%dT%H:%M:%S.%eZ %l %v";

constexpr std::array<spdlog::level::level_enum, 5> kLevels{
    spdlog::level::trace, spdlog::level::debug, spdlog::level::info, spdlog::level::warn, spdlog::level::err};

// Whether the file can be appended to, found out without waiting: a pipe that nobody reads would hold the caller up.
bool canAppendTo(const std::string& hostFile) {
  constexpr mode_t kMode = 0666;
  return FileDescriptor(
             ::open(hostFile.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, kMode))
      .isOpen();
}

void appendHex(std::string& text, unsigned char byte) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  (text += "\\x") += {kDigits[byte >> 4], kDigits[byte & 15]};
}

// Bytes at the start of `rest` that make up a character no line may hold as it is: one that a terminal obeys, or that
// some reader takes for the end of a line.
std::size_t lengthOfControl(std::string_view rest) {
  const auto first = static_cast<unsigned char>(rest[0]);
  if (first < 0x20 || first == 0x7F) return 1;
  const bool isC1 = first == 0xC2 && rest.size() > 1 && static_cast<unsigned char>(rest[1]) < 0xA0;
  if (isC1) return 2;
  return rest.starts_with("\u2028") || rest.starts_with("\u2029") ? 3 : 0;
}

// Text that stays within its line: control characters as "\x0a", bad bytes as U+FFFD, and the backslash doubled, so
// that what is escaped can be told from what only looks like it.
std::string escaped(std::string_view bytes) {
  const std::string text = Text::validUTF8(bytes);
  std::string result;
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t control = lengthOfControl(std::string_view(text).substr(i));
    if (control == 0) {
      if (text[i] == '\\') result += '\\';
      result += text[i++];
    }
    for (const std::size_t end = i + control; i < end; ++i) appendHex(result, static_cast<unsigned char>(text[i]));
  }
  return result;
}

// A value that could be mistaken for more than one is quoted.
std::string asValue(std::string_view text) {
  std::string plain = escaped(text);
  if (!plain.empty() && plain.find_first_of(" \"=") == std::string::npos) return plain;
  std::string quoted = "\"";
  for (const char character : plain) {
    if (character == '"') quoted += '\\';
    quoted += character;
  }
  return quoted += '"';
}

std::string lineOf(std::string_view category, std::string_view message, const DiagnosticsLogger::Metadata& metadata) {
  std::string line = "[";
  ((line += escaped(category)) += "] ") += escaped(message);
  for (const auto& [key, value] : metadata) (((line += ' ') += escaped(key)) += '=') += asValue(value);
  return line;
}

}  // namespace

// The pool's one thread is the serial executor; its queue never makes a caller wait and gives up the oldest lines in a
// flood, which `stop` then tells.
struct DiagnosticsLogger::State {
  std::atomic<bool> isEnabled = false;
  std::atomic<bool> isWhole = true;  // of the lines given to the file so far
  std::shared_mutex mutex;           // shared while a line is handed over, exclusive while the file changes
  std::shared_ptr<spdlog::details::thread_pool> pool;
  std::shared_ptr<spdlog::async_logger> logger;

  void start(const std::string& hostFile) {
    auto sink = std::make_shared<spdlog::sinks::basic_file_sink_mt>(hostFile);
    pool = std::make_shared<spdlog::details::thread_pool>(kQueuedLines, 1);
    logger = std::make_shared<spdlog::async_logger>("quarn", std::move(sink), pool,
                                                    spdlog::async_overflow_policy::overrun_oldest);
    logger->set_formatter(std::make_unique<spdlog::pattern_formatter>(kLinePattern, spdlog::pattern_time_type::utc));
    logger->set_level(spdlog::level::trace);
    logger->flush_on(spdlog::level::trace);
    logger->set_error_handler([this](const std::string&) { isWhole = false; });
    isWhole = true;
    isEnabled = true;
  }

  void stop() {
    isEnabled = false;
    if (!logger) return;
    const std::size_t lost = pool->overrun_counter();
    pool.reset();  // joins, when the queue is empty
    if (lost > 0) tellLost(lost);
    logger.reset();
  }

  void tellLost(std::size_t lines) {
    const std::string text = lineOf("Diagnostics", "Lines lost", {{"count", std::to_string(lines)}});
    try {
      logger->sinks().front()->log({logger->name(), spdlog::level::warn, text});
    } catch (const std::exception&) {
      isWhole = false;
    }
  }
};

DiagnosticsLogger::DiagnosticsLogger() : state_(std::make_unique<State>()) {}

DiagnosticsLogger::~DiagnosticsLogger() { close(); }

DiagnosticsLogger& DiagnosticsLogger::shared() {
  static DiagnosticsLogger logger;
  return logger;
}

bool DiagnosticsLogger::writeTo(const std::string& hostFile) {
  const std::unique_lock lock(state_->mutex);
  try {
    state_->stop();
    if (canAppendTo(hostFile)) state_->start(hostFile);
  } catch (...) {
    state_->pool.reset();
    state_->logger.reset();
  }
  return state_->isEnabled;
}

void DiagnosticsLogger::log(DiagnosticsLevel level, std::string_view category, std::string_view message,
                            const Metadata& metadata) {
  if (!isEnabled()) return;
  try {
    const std::string line = lineOf(category, message, metadata);
    const std::shared_lock lock(state_->mutex);
    if (state_->logger) state_->logger->log(kLevels[static_cast<std::size_t>(level)], line);
  } catch (...) {  // without memory for a line the work goes on, and the line is lost
  }
}

bool DiagnosticsLogger::isEnabled() const { return state_->isEnabled; }

bool DiagnosticsLogger::close() {
  const std::unique_lock lock(state_->mutex);
  state_->stop();
  return state_->isWhole.exchange(true);
}

}  // namespace quarn
