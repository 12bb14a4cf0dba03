#pragma once

#include <future>
#include <memory>
#include <system_error>
#include <type_traits>
#include <utility>

#include "QuarnPlatform/base/HelperThread.h"

namespace quarn {

/// Starts `work` on a thread of its own. If the system gives none, the work is done by whoever asks for the result
/// first; it is not done if nobody asks. Otherwise the destructor of the result waits for the thread.
template <class Work>
std::future<std::invoke_result_t<Work&>> startBeside(Work work) {
  const auto kept = std::make_shared<Work>(std::move(work));  // survives a start that fails
  try {
    return std::async(std::launch::async, [kept] {
      becomeHelperThread();
      return (*kept)();
    });
  } catch (const std::system_error&) {
    return std::async(std::launch::deferred, [kept] { return (*kept)(); });
  }
}

}  // namespace quarn
