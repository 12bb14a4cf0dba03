#pragma once

#include <span>
#include <string>

#include "quarn/rpc/Method.h"

namespace quarn {

/// Looks up a request's method in a table, checks the params and calls the handler. A view: the table and the
/// services must outlive it.
class Binder {
 public:
  Binder(std::span<const MethodRow> methods, const Services& services) : methods_(methods), services_(services) {}

  /// Returns the result. Throws RPCError for an unknown method, for a param that is missing, unknown or of the wrong
  /// type or range, and for a FileError of the operation.
  [[nodiscard]] JSONText call(const std::string& method, const JSONValue* params, const RequestContext& context) const;

 private:
  std::span<const MethodRow> methods_;
  const Services& services_;
};

}  // namespace quarn
