#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace quarn {

/// A key of a configuration file that holds one text or a list of texts.
struct ConfiguredKey {
  std::string key{};
  std::vector<std::string> values{};
  bool isList = false;  ///< written as a list
  long line = 0;        ///< of the key's value in the file
};

/// The largest configuration file that is read, in bytes.
inline constexpr std::size_t kMostConfigurationBytes = 64u << 10;

/// The error of a configuration file as a text: "FILE:LINE: problem".
std::string configurationProblem(const std::string& file, long line, std::string_view problem);

/// The keys of a file in TOML, by name. Throws FileError if the file cannot be read (EINVAL for a pipe or a device,
/// EFBIG beyond the limit), and CommandError if it is not valid TOML or a key holds anything but text.
std::vector<ConfiguredKey> readConfigurationFile(const std::string& file);

}  // namespace quarn
