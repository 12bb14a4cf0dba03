#include "quarn/rpc/Methods.h"
#include "quarn/rpc/Server.h"
#include "quarn/services/Version.h"

namespace quarn {
namespace {

std::optional<VolumeInfo> volumeIfReadable(const Services& services) {
  try {
    return services.volumeInfoClient.systemVolume();
  } catch (const FileError&) {
    return std::nullopt;
  }
}

// The client's values are for its own logs and for later versions. A client decides itself whether it can work with
// this version.
Handshake initialize(const Context& context, const std::optional<std::string>& /*client*/,
                     const std::optional<std::int64_t>& /*protocolVersion*/) {
  return {.protocolVersion = kProtocolVersion,
          .version = std::string(kVersion),
          .volume = volumeIfReadable(context.services),
          .capabilities = {"cancel", "progress", "concurrent", "discover", "reportUnread", "defaultOptions"}};
}

std::string version(const Context& /*context*/) { return std::string(kVersion); }

constexpr std::array kProcessMethods{
    method<&initialize>("initialize", "client", "protocolVersion"),
    method<&version>("version"),
};

}  // namespace

std::span<const MethodRow> processMethods() { return kProcessMethods; }

}  // namespace quarn
