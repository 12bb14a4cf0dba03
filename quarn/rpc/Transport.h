#pragma once

#include <functional>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include "QuarnPlatform/base/Cancellation.h"
#include "quarn/rpc/MessageQueue.h"

namespace quarn {

/// The context of a running request.
struct RequestContext {
  Cancellation cancellation;  ///< set when the client cancels the request
  /// Sends a progress notification for the request. Any thread may call it while the request runs.
  std::function<void(const nlohmann::ordered_json& value)> report;
};

/// Runs one request. Returns the result or throws an RPCError. `params` is an object, an array or null.
using Dispatcher = std::function<nlohmann::ordered_json(const std::string& method, const nlohmann::json* params,
                                                        const RequestContext& context)>;

/// Serves JSON-RPC 2.0 on two descriptors, one JSON value per line. Returns when the input has ended and all requests
/// are answered, or when the client closes the output. The caller owns the descriptors.
///
/// Requests run one at a time, in order of arrival, on another thread. The calling thread keeps reading, so
/// "$/cancelRequest" takes effect at once, until the waiting lines reach the limits; then it stops reading until
/// there is room. Memory is bounded by the values of the running line and of the waiting lines. When the client goes
/// away, all requests are cancelled.
///
/// Returns 0, or the errno of a response that could not be written; a closed output is not an error. Throws
/// std::system_error if the process cannot open a descriptor. If it cannot start a thread, requests run on
/// the calling one.
int serve(int inputDescriptor, int outputDescriptor, const Dispatcher& dispatcher, const TransportLimits& limits = {});

}  // namespace quarn
