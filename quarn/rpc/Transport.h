#pragma once

#include <functional>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include "QuarnPlatform/base/Cancellation.h"
#include "quarn/rpc/MessageQueue.h"

namespace quarn {

/// What a running request has besides its params.
struct RequestContext {
  Cancellation cancellation;  ///< set when the client no longer wants the request
  /// Sends a progress notification for the request. Safe from any thread while the request runs.
  std::function<void(const nlohmann::ordered_json& value)> report;
};

/// Carries out one request: the result, or an RPCError that is thrown. `params` is an object, an array or null pointer.
using Dispatcher = std::function<nlohmann::ordered_json(const std::string& method, const nlohmann::json* params,
                                                        const RequestContext& context)>;

/// Serves JSON-RPC 2.0 on two descriptors, one JSON value a line, until the input ends and what was read is answered,
/// or until the client no longer listens. The descriptors stay the caller's.
///
/// Requests run one after another in the order in which they arrive, on a thread of their own; this thread goes on
/// reading, so that "$/cancelRequest" works at once, as long as the lines that wait keep within the limits: then
/// reading stops until there is room. Memory is bounded by the values of the running line and of those that wait. A
/// client that goes away cancels everything.
///
/// Returns 0, or the errno with which an answer could not be written for another reason than that nobody reads it.
/// Throws std::system_error when the process can open no more descriptors. Where it can start no thread, requests run
/// on this one.
int serve(int inputDescriptor, int outputDescriptor, const Dispatcher& dispatcher, const TransportLimits& limits = {});

}  // namespace quarn
