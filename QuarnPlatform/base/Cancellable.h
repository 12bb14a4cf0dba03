#pragma once

#include <functional>
#include <type_traits>
#include <utility>

#include "QuarnPlatform/base/Cancellation.h"

namespace quarn {

template <class Signature>
class Cancellable;

/// A function of a client with a cancellation as its last parameter. Callers that never cancel may omit the argument;
/// functions that finish at once may omit the parameter. Copyable; as thread-safe as the function that it holds.
template <class Result, class... Params>
class Cancellable<Result(Params...)> {
 public:
  Cancellable() = default;
  template <class Function>
  requires(!std::is_same_v<std::remove_cvref_t<Function>, Cancellable>)
      Cancellable(Function function) {  // NOLINT(google-explicit-constructor): assigned like a std::function
    if constexpr (std::is_invocable_r_v<Result, const Function&, Params..., const Cancellation&>) {
      function_ = std::move(function);
    } else {
      function_ = [function = std::move(function)](Params... params, const Cancellation& /*unused*/) -> Result {
        return function(std::forward<Params>(params)...);
      };
    }
  }

  Result operator()(Params... params, const Cancellation& cancellation = Cancellation::never()) const {
    return function_(std::forward<Params>(params)..., cancellation);
  }
  explicit operator bool() const { return static_cast<bool>(function_); }

 private:
  std::function<Result(Params..., const Cancellation&)> function_;
};

}  // namespace quarn
