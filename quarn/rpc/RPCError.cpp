#include "quarn/rpc/RPCError.h"

#include <cerrno>
#include <new>

#include "QuarnPlatform/text/Text.h"

namespace quarn {
namespace {

/// Maximum length of an error description in bytes. Parsers quote the text at the error, which may be the whole line.
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

RPCError RPCError::unexpected(const std::exception& error) {
  if (dynamic_cast<const std::bad_alloc*>(&error) != nullptr) return {RPCErrorCode::internal, "not enough memory", {}};
  const std::string problem = std::string(error.what()).substr(0, kLongestProblem);
  return {RPCErrorCode::internal, "internal error: " + Text::validUTF8(problem), {}};
}

}  // namespace quarn
