#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "QuarnModels/Date.h"
#include "QuarnModels/SizeInfo.h"
#include "QuarnPlatform/paths/FileURL.h"

namespace quarn {

/// The entitlements of an app that concern files. Empty if there are none or they cannot be read.
struct EntitlementsInfo {
  std::vector<std::string> applicationGroups{};  ///< application group identifiers, in order
  friend bool operator==(const EntitlementsInfo&, const EntitlementsInfo&) = default;
};

/// An uninstaller of an app.
struct UninstallerCandidate {
  FileURL url{};
  std::string name{};     ///< file name, for display
  double confidence = 0;  ///< 0 to 1
  friend bool operator==(const UninstallerCandidate&, const UninstallerCandidate&) = default;
};

/// A launchd job.
struct LaunchdEntry {
  std::string label{};
  std::optional<std::string> program{};
  std::vector<std::string> programArguments{};
  FileURL url{};  ///< the property list of the job
  friend bool operator==(const LaunchdEntry&, const LaunchdEntry&) = default;
};

/// An installer receipt.
struct ReceiptInfo {
  std::string packageIdentifier{};
  std::vector<FileURL> files{};  ///< the files and links that the package installed
  std::optional<std::string> version{};
  std::optional<Date> installDate{};
  friend bool operator==(const ReceiptInfo&, const ReceiptInfo&) = default;
};

/// An installed kernel extension.
struct KernelExtensionInfo {
  std::string name{};
  std::optional<std::string> bundleIdentifier{};
  FileURL url{};  ///< the bundle
  std::optional<std::string> version{};
  std::optional<SizeInfo> size{};
  friend bool operator==(const KernelExtensionInfo&, const KernelExtensionInfo&) = default;
};

/// The inspected system volume.
struct VolumeInfo {
  std::string name{};
  FileURL url{};
  std::int64_t totalBytes = 0;
  std::int64_t freeBytes = 0;
  friend bool operator==(const VolumeInfo&, const VolumeInfo&) = default;
};

}  // namespace quarn
