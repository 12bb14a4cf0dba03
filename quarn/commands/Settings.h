#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "quarn/commands/Arguments.h"

namespace quarn {

/// A setting that is an option on the command line, a variable of the environment, or a key of the configuration file.
struct SettingRow {
  std::string_view key{};            ///< in the file
  std::string_view option{};         ///< "--volume"
  std::string_view otherFlags = "";  ///< "--iec|--bytes": options that settle the same
  std::string_view variable = "";    ///< of the environment; may be empty
  std::string_view variableMeans{};  ///< the value if the variable is set at all; empty: the variable holds the value
  std::string_view usual = "";       ///< the value if nothing sets it
  bool isFolder = false;             ///< a folder on this machine; "~/" is the user's own
  bool isList = false;
};

std::span<const SettingRow> settingTable();

/// The configuration file of this run: QUARN_CONFIG, else quarn/config.toml in XDG_CONFIG_HOME or ~/.config. Absent
/// with --no-config and with an empty QUARN_CONFIG. The file need not exist.
std::optional<std::string> configurationFile(const Arguments& arguments);

/// Adds the options that the environment or the configuration file sets and the command line does not, and their
/// sources. A home folder belongs to a volume: it is not added if a stronger source names the volume. Throws FileError
/// and CommandError for a file that cannot be read or that has unknown keys or invalid values.
void addSettings(Arguments& arguments);

/// Where the value of a setting comes from.
OptionSource sourceOf(const SettingRow& row, const Arguments& arguments);

}  // namespace quarn
