#include "quarn/rpc/RPCError.h"

#include <cerrno>

#include "QuarnPlatform/text/Text.h"

namespace quarn {
namespace {

/// Longest description of what is wrong with a line, in bytes: parsers quote the text that they stumble over, and that
/// may be all of it.
constexpr std::size_t kLongestProblem = 200;

}  // namespace

RPCError RPCError::notJSON(const std::string& problem) {
  return {RPCErrorCode::notJSON, "the line is not JSON: " + Text::validUTF8(problem.substr(0, kLongestProblem)), {}};
}

RPCError RPCError::notARequest(std::string problem) { return {RPCErrorCode::notARequest, std::move(problem), {}}; }

RPCError RPCError::noSuchMethod(const std::string& method) {
  return {RPCErrorCode::noSuchMethod, "no such method", {{"method", method}}};
}

RPCError RPCError::badParam(const DecodingError& error) {
  return {RPCErrorCode::badParam, error.what(), {{"param", error.path()}}};
}

RPCError RPCError::operationFailed(const FileError& error) {
  return {RPCErrorCode::operationFailed,
          Text::validUTF8(error.what()),
          {{"path", Text::validUTF8(error.path())},
           {"errno", std::int64_t{error.error()}},
           {"name", errnoName(error.error())}}};
}

// Wire clients know the member names of a failed operation, and an overflow is one.
RPCError RPCError::operationFailed(const SizeOverflow& error) {
  return {RPCErrorCode::operationFailed,
          Text::validUTF8(error.what()),
          {{"path", Text::validUTF8(error.folder())}, {"errno", std::int64_t{EOVERFLOW}}, {"name", "EOVERFLOW"}}};
}

RPCError RPCError::limitReached(const std::string& what) {
  return {RPCErrorCode::limitReached, what + " have reached their limit; the request was not run", {}};
}

RPCError RPCError::cancelled() { return {RPCErrorCode::cancelled, "cancelled before it started", {}}; }

RPCError RPCError::internal(const std::string& problem) {
  return {RPCErrorCode::internal, "internal error: " + Text::validUTF8(problem.substr(0, kLongestProblem)), {}};
}

}  // namespace quarn
