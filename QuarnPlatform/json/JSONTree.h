#pragma once

#include <utility>
#include <vector>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "QuarnPlatform/json/JSONSink.h"
#include "QuarnPlatform/text/Text.h"

namespace quarn {

/// Builds the value as a tree of the library, for documents that are put together from parts.
class JSONTree final : public JSONSink {
 public:
  using Value = nlohmann::ordered_json;

  void null() override { add(Value()); }
  void boolean(bool value) override { add(Value(value)); }
  void integer(std::int64_t value) override { add(Value(value)); }
  void real(double value) override { add(Value(value)); }
  void string(std::string_view text) override { add(Value(Text::validUTF8(text))); }
  void key(std::string_view name) override { open_.back().key = Text::validUTF8(name); }
  void beginArray() override { open_.push_back({Value::array(), {}}); }
  void endArray() override { close(); }
  void beginObject() override { open_.push_back({Value::object(), {}}); }
  void endObject() override { close(); }

  [[nodiscard]] Value take() { return std::move(root_); }

 private:
  struct Container {
    Value value;
    std::string key;  ///< of the next member
  };

  void close() {
    Value value = std::move(open_.back().value);
    open_.pop_back();
    add(std::move(value));
  }

  // The library's own insertion into an object searches all members first.
  void add(Value value) {
    if (open_.empty()) {
      root_ = std::move(value);
    } else if (Container& container = open_.back(); container.value.is_array()) {
      container.value.push_back(std::move(value));
    } else {
      container.value.get_ref<Value::object_t&>().emplace_back(std::move(container.key), std::move(value));
    }
  }

  std::vector<Container> open_;
  Value root_;
};

}  // namespace quarn
