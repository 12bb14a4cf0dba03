#pragma once

#include <functional>
#include <string>
#include <utility>

#include <nlohmann/json_fwd.hpp>

#include "QuarnPlatform/base/Cancellation.h"
#include "QuarnPlatform/json/JSONDocument.h"
#include "quarn/rpc/MessageQueue.h"

namespace quarn {

/// The context of a running request.
struct RequestContext {
  Cancellation cancellation;  ///< set when the client cancels the request
  /// Sends a progress notification for the request. Any thread may call it while the request runs. Null if the client
  /// wants none.
  std::function<void(const nlohmann::ordered_json& value)> report;
  /// Sends what the request could not read. Call it once, before the request ends.
  std::function<void(const nlohmann::ordered_json& value)> unread = {};
};

/// A value as JSON text on one line.
struct JSONText {
  std::string text;

  JSONText(const nlohmann::ordered_json& value);  // NOLINT(google-explicit-constructor): a result may be a tree too
  explicit JSONText(std::string value) : text(std::move(value)) {}
};

/// Runs one request. Returns the result or throws an RPCError. `params` is an object, an array or null.
using Dispatcher =
    std::function<JSONText(const std::string& method, const JSONValue* params, const RequestContext& context)>;

/// True if a method takes little time, whatever its params and the size of the volume.
using IsQuick = std::function<bool(const std::string& method)>;

/// Serves JSON-RPC 2.0 on two descriptors, one JSON value per line. Returns when the input has ended and all requests
/// are answered, or when the client closes the output. The caller owns the descriptors. Ignores blank lines.
///
/// Lines start in order of arrival, on other threads, up to `limits.runningLines` at the same time; each is answered
/// when it is done. The requests of a batch run one after another. With several threads, one more runs only lines whose
/// requests are all quick; without `isQuick` no method is. The dispatcher must then be thread-safe.
///
/// The calling thread keeps reading, so "$/cancelRequest" takes effect at once, until the waiting lines reach the
/// limits; then it stops reading until there is room. Memory is bounded by the values of the running lines and of the
/// waiting lines. When the client goes away, all requests are cancelled.
///
/// Returns 0, or the errno of a response that could not be written; a closed output is not an error. Throws
/// std::system_error if the process cannot open a descriptor. If it cannot start all threads, it works with fewer; if
/// it cannot start any, requests run on the calling one.
int serve(int inputDescriptor, int outputDescriptor, const Dispatcher& dispatcher, const TransportLimits& limits = {},
          const IsQuick& isQuick = nullptr);

}  // namespace quarn
