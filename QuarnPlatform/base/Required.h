#pragma once

#include <utility>

namespace quarn {

/// A field without a default in a record of choices: a record that leaves it out does not compile, with any compiler
/// and any flags. Otherwise it behaves as its value.
template <class Value>
class Required {
 public:
  constexpr Required(Value value) : value_(std::move(value)) {}  // NOLINT(google-explicit-constructor): as the value
  constexpr operator const Value&() const { return value_; }     // NOLINT(google-explicit-constructor): likewise

 private:
  Value value_;
};

}  // namespace quarn
