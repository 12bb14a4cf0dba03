#include "quarn/rpc/Binder.h"

#include <algorithm>
#include <vector>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/rpc/RPCError.h"

namespace quarn {
namespace {

using nlohmann::json;
using nlohmann::ordered_json;

const json& objectOf(const json* params) {
  static const json kNoParams = json::object();
  if (params == nullptr) return kNoParams;
  if (!params->is_object()) throw DecodingError("params", "not an object: params are given by name");
  return *params;
}

ordered_json invoke(const MethodRow& row, const MethodContext& context, const json* params) {
  const JSONDecoder object(objectOf(params));
  std::vector<std::string_view> known;
  for (const ParamRow& param : row.params()) known.push_back(param.name);
  object.refuseUnknownMembers(known);
  ordered_json result;
  row.invoke(row, context, object, result);
  return result;
}

}  // namespace

ordered_json Binder::call(const std::string& method, const json* params, const RequestContext& context) const {
  const auto row =
      std::find_if(methods_.begin(), methods_.end(), [&](const auto& known) { return known.name == method; });
  if (row == methods_.end()) throw RPCError::noSuchMethod(method);
  try {
    return invoke(*row, {services_, context}, params);
  } catch (const DecodingError& error) {
    throw RPCError::badParam(error);
  } catch (const FileError& error) {
    throw RPCError::operationFailed(error);
  } catch (const SizeOverflow& error) {
    throw RPCError::operationFailed(error);
  }
}

}  // namespace quarn
