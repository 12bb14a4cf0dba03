#pragma once

#include <string>
#include <string_view>

namespace quarn {

/// Refuses, as a usage error, a host file or folder on the inspected volume. Nothing may write there. `option` is named
/// in the message.
void refuseOnVolume(std::string_view option, const std::string& file, const std::string& volumeFolder);

}  // namespace quarn
