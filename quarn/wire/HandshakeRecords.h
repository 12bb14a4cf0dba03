#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "QuarnModels/Storage.h"

namespace quarn {

/// What a client learns first.
struct Handshake {
  std::int64_t protocolVersion = 0;       ///< grows when the contract changes
  std::string version;                    ///< of the program
  std::optional<VolumeInfo> volume;       ///< absent if it cannot be read
  std::vector<std::string> capabilities;  ///< what this process does beyond the methods
};

}  // namespace quarn
