#pragma once

#include <span>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include "quarn/rpc/Method.h"

namespace quarn {

/// Finds a request's method in a table, checks its params and carries it out. A view of the table and the services.
class Binder {
 public:
  Binder(std::span<const MethodRow> methods, const Services& services) : methods_(methods), services_(services) {}

  /// The result. Throws RPCError: no such method; a param that is missing, unknown or of the wrong type or range; the
  /// operation's own FileError.
  [[nodiscard]] nlohmann::ordered_json call(const std::string& method, const nlohmann::json* params,
                                            const RequestContext& context) const;

 private:
  std::span<const MethodRow> methods_;
  const Services& services_;
};

}  // namespace quarn
