#include "quarn/rpc/Binder.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/rpc/Methods.h"
#include "quarn/rpc/RPCError.h"
#include "quarn/rpc/Unread.h"
#include "quarn/services/Services.h"

namespace quarn {
namespace {

/// What a request without params holds.
const JSONValue& noParams() {
  static const JSONDocument document = *JSONDocument::parse("{}");
  static const JSONValue root = document.root();
  return root;
}

const JSONValue& objectOf(const JSONValue* params) {
  if (params == nullptr) return noParams();
  if (!params->isObject()) throw DecodingError("params", "not an object: params must be named");
  return *params;
}

void refuseUnknownParams(const MethodRow& row, const JSONDecoder& params) {
  std::vector<std::string_view> known{kReportUnreadParam.name};
  for (const ParamRow& param : row.params()) known.push_back(param.name);
  params.refuseUnknownMembers(known);
}

bool isWanted(const ParamRow& flag, const JSONDecoder& params) {
  return fromJSON<std::optional<bool>>(params.member(flag.name)).value_or(false);
}

/// Sends "$/unread" when the request ends with a result or with an error of the operation.
class UnreadNotification {
 public:
  UnreadNotification(bool isWanted, const RequestContext& request) : request_(request) {
    if (isWanted) report_ = std::make_shared<ReadReport>();
  }

  [[nodiscard]] const std::shared_ptr<ReadReport>& report() const { return report_; }
  void send() const {
    if (report_) request_.unread(unreadValue(*report_, request_.cancellation));
  }

 private:
  const RequestContext& request_;
  std::shared_ptr<ReadReport> report_;  ///< null if nobody wants to know
};

// A method that walks gets services of its own, so that everything in it stops when the request is cancelled.
std::string run(const MethodRow& row, const Services& services, const RequestContext& request,
                const JSONDecoder& params, const std::shared_ptr<ReadReport>& report) {
  std::string result;
  if (report == nullptr && isQuickMethod(row.name)) {
    row.invoke(row, {services, request}, params, result);
  } else {
    const std::unique_ptr<Services> own = services.forRequest(report, request.cancellation);
    row.invoke(row, {*own, request}, params, result);
  }
  return result;
}

JSONText invoke(const MethodRow& row, const Services& services, const RequestContext& request,
                const JSONValue* params) {
  const JSONDecoder object(objectOf(params));
  refuseUnknownParams(row, object);
  RequestContext own = request;
  if (row.progressType == nullptr || !isWanted(kProgressParam, object)) own.report = nullptr;
  const UnreadNotification unread(isWanted(kReportUnreadParam, object), request);
  try {
    std::string result = run(row, services, own, object, unread.report());
    unread.send();
    return JSONText(std::move(result));
  } catch (const FileError& error) {
    unread.send();
    throw RPCError::operationFailed(error);
  } catch (const SizeOverflow& error) {
    unread.send();
    throw RPCError::operationFailed(error);
  }
}

}  // namespace

JSONText Binder::call(const std::string& method, const JSONValue* params, const RequestContext& context) const {
  const auto row =
      std::find_if(methods_.begin(), methods_.end(), [&](const auto& known) { return known.name == method; });
  if (row == methods_.end()) throw RPCError::noSuchMethod(method);
  try {
    return invoke(*row, services_, context, params);
  } catch (const DecodingError& error) {
    throw RPCError::badParam(error);
  }
}

}  // namespace quarn
