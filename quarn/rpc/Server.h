#pragma once

#include <string>

#include "quarn/services/Services.h"

namespace quarn {

/// Serves every operation of the library over JSON-RPC on two descriptors, until the input ends; docs/rpc.md is the
/// contract. The descriptors stay the caller's. Returns 0, or the errno with which an answer could not be
/// written for another reason than that nobody reads it.
int runRPC(const Services& services, int inputDescriptor, int outputDescriptor);

/// The whole interface as one JSON text of several lines: methods with params and results, records, enumerations and
/// errors, in the order of docs/rpc.md.
[[nodiscard]] std::string describeInterface();

}  // namespace quarn
