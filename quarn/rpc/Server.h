#pragma once

#include <string>

#include "quarn/services/Services.h"

namespace quarn {

/// Serves every operation of the library over JSON-RPC on two descriptors until the input ends; docs/rpc.md is the
/// contract. The caller owns the descriptors. Returns 0, or the errno of a response that could not be written. A
/// closed output is not an error.
int runRPC(const Services& services, int inputDescriptor, int outputDescriptor);

/// The interface description as JSON on several lines: methods with params and results, records, enumerations and
/// errors, in the order of docs/rpc.md.
[[nodiscard]] std::string describeInterface();

}  // namespace quarn
