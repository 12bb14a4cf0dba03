#include "quarn/rpc/Server.h"

#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/rpc/Binder.h"
#include "quarn/rpc/Methods.h"

namespace quarn {

int runRPC(const Services& services, int inputDescriptor, int outputDescriptor) {
  const Binder binder(methodTable(), services);
  const Dispatcher dispatch = [&](const auto& method, const auto* params, const auto& context) {
    return binder.call(method, params, context);
  };
  return serve(inputDescriptor, outputDescriptor, dispatch);
}

}  // namespace quarn
