#include "quarn/rpc/Server.h"

#include <algorithm>
#include <thread>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/rpc/Binder.h"
#include "quarn/rpc/Methods.h"

namespace quarn {

namespace {

constexpr std::string_view kDiscoverMethod = "rpc.discover";

}  // namespace

int runRPC(const Services& services, int inputDescriptor, int outputDescriptor, std::size_t maxConcurrent) {
  // The first request makes the table of the methods.
  const Dispatcher dispatch = [&](const auto& method, const auto* params, const auto& context) {
    return method == kDiscoverMethod ? JSONText(openRPCDocument())
                                     : Binder(methodTable(), services).call(method, params, context);
  };
  return serve(inputDescriptor, outputDescriptor, dispatch, {.runningLines = maxConcurrent}, &isQuickMethod);
}

std::size_t usualConcurrency() { return std::max<std::size_t>(std::thread::hardware_concurrency(), 2); }

}  // namespace quarn
