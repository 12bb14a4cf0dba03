#pragma once

#include <utility>

namespace quarn {

/// A field without a default in a record of options: code that omits it does not compile, with any compiler and any
/// flags. Otherwise it behaves like its value.
template <class Value>
class Required {
 public:
  constexpr Required(Value value) : value_(std::move(value)) {}  // NOLINT(google-explicit-constructor): as the value
  constexpr operator const Value&() const { return value_; }     // NOLINT(google-explicit-constructor): likewise

 private:
  Value value_;
};

}  // namespace quarn
