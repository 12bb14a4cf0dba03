#pragma once

#include <array>
#include <cstdint>
#include <exception>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "QuarnPlatform/base/ByteCounts.h"
#include "QuarnPlatform/base/FileError.h"
#include "QuarnPlatform/json/JSONDecoder.h"

namespace quarn {

/// Error codes; their numbers are part of the interface.
enum class RPCErrorCode : int {
  notJSON = -32700,
  notARequest = -32600,
  noSuchMethod = -32601,
  badParam = -32602,
  internal = -32603,
  operationFailed = -32000,
  limitReached = -32001,
  cancelled = -32800,
};

/// Why a request has no result. The layers above the transport throw it.
struct RPCError {
  using Data = std::vector<std::pair<std::string, std::variant<std::int64_t, std::string>>>;

  RPCErrorCode code = RPCErrorCode::internal;
  std::string message;  ///< one sentence for people
  Data data;            ///< members of "data", in order; if empty, "data" is omitted

  static RPCError notJSON(const std::string& problem);
  static RPCError notARequest(std::string problem);
  static RPCError noSuchMethod(const std::string& method);
  static RPCError badParam(const DecodingError& error);
  static RPCError operationFailed(const FileError& error);
  static RPCError operationFailed(const SizeOverflow& error);
  static RPCError limitReached(const std::string& what);
  static RPCError cancelled();
  /// Any other exception.
  static RPCError unexpected(const std::exception& error);
};

/// One row in the description of the errors.
struct RPCErrorDescription {
  RPCErrorCode code;
  std::string_view when;
  std::array<std::string_view, 3> data;  ///< names of the members of "data"; unused entries are empty
};

// clang-format off
inline constexpr std::array<RPCErrorDescription, 8> kRPCErrors{{
    {.code = RPCErrorCode::notJSON,         .when = "the line is not JSON", .data = {}},
    {.code = RPCErrorCode::notARequest,     .when = "not a request object", .data = {}},
    {.code = RPCErrorCode::noSuchMethod,    .when = "no such method", .data = {"method"}},
    {.code = RPCErrorCode::badParam, .when = "a param is missing, unknown or of the wrong type or range",
     .data = {"param"}},
    {.code = RPCErrorCode::operationFailed, .when = "the operation threw (sizes, listings, the system volume)",
     .data = {"path", "errno", "name"}},
    {.code = RPCErrorCode::limitReached, .when = "not run: the answers of its batch have reached a limit",
     .data = {}},
    {.code = RPCErrorCode::cancelled,       .when = "cancelled before it started", .data = {}},
    {.code = RPCErrorCode::internal,        .when = "an unexpected failure, for example out of memory", .data = {}},
}};
// clang-format on

}  // namespace quarn
