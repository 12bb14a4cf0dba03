#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include "quarn/services/Services.h"

namespace quarn {

/// The version of the contract. It grows when a method, param, record or error changes; changes between two releases
/// share one number.
inline constexpr std::int64_t kProtocolVersion = 3;

/// Serves every operation of the library over JSON-RPC on two descriptors until the input ends; docs/rpc.md is the
/// contract. The caller owns the descriptors. Returns 0, or the errno of a response that could not be written. A
/// closed output is not an error. Runs up to `maxConcurrent` lines at the same time; with 1, the responses have the
/// order of the requests.
int runRPC(const Services& services, int inputDescriptor, int outputDescriptor, std::size_t maxConcurrent = 1);

/// The number of lines that a process runs at the same time unless the caller says otherwise: the number of
/// processors, at least 2.
[[nodiscard]] std::size_t usualConcurrency();

/// The interface as an OpenRPC 1.3 document, with a JSON Schema for each record. The method "rpc.discover" returns it.
[[nodiscard]] nlohmann::ordered_json openRPCDocument();

/// The interface description as JSON on several lines: methods with params and results, records, enumerations and
/// errors, in the order of docs/rpc.md.
[[nodiscard]] std::string describeInterface();

}  // namespace quarn
