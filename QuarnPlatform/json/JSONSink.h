#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quarn {

/// Takes a JSON value piece by piece. Calls must form one value: within an object, each value follows its key, and keys
/// are unique. Strings may contain any bytes; U+FFFD replaces invalid UTF-8.
class JSONSink {
 public:
  virtual ~JSONSink() = default;

  virtual void null() = 0;
  virtual void boolean(bool value) = 0;
  virtual void integer(std::int64_t value) = 0;
  virtual void real(double value) = 0;
  virtual void string(std::string_view text) = 0;
  virtual void key(std::string_view name) = 0;
  virtual void beginArray() = 0;
  virtual void endArray() = 0;
  virtual void beginObject() = 0;
  virtual void endObject() = 0;
};

/// Writes the value as text on one line.
class JSONWriter final : public JSONSink {
 public:
  void null() override { add("null"); }
  void boolean(bool value) override { add(value ? "true" : "false"); }
  void integer(std::int64_t value) override;
  void unsignedInteger(std::uint64_t value);
  void real(double value) override;
  void string(std::string_view text) override;
  void key(std::string_view name) override;
  void beginArray() override { begin('['); }
  void endArray() override { end(']'); }
  void beginObject() override { begin('{'); }
  void endObject() override { end('}'); }
  /// A value that is JSON text already.
  void written(std::string_view value) { add(value); }

  [[nodiscard]] std::string take() { return std::move(text_); }

 private:
  void separate() {
    if (needsComma_) text_ += ',';
    needsComma_ = true;
  }
  void add(std::string_view value) {
    separate();
    text_ += value;
  }
  void begin(char bracket) {
    separate();
    text_ += bracket;
    needsComma_ = false;
  }
  void end(char bracket) {
    text_ += bracket;
    needsComma_ = true;
  }
  void quote(std::string_view text);

  std::string text_;
  bool needsComma_ = false;
};

}  // namespace quarn
