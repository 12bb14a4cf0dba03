#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "QuarnModels/Date.h"
#include "QuarnModels/SizeInfo.h"
#include "QuarnPlatform/paths/FileURL.h"

namespace quarn {

/// What an app's code signature entitles it to, as far as files are concerned. Empty: nothing read or nothing declared.
struct EntitlementsInfo {
  std::vector<std::string> applicationGroups;  ///< application-group identifiers, in the signature's order
  friend bool operator==(const EntitlementsInfo&, const EntitlementsInfo&) = default;
};

/// An uninstaller found for an app.
struct UninstallerCandidate {
  FileURL url;
  std::string name;       ///< for display: the item's file name
  double confidence = 0;  ///< 0...1
  friend bool operator==(const UninstallerCandidate&, const UninstallerCandidate&) = default;
};

/// One launchd job.
struct LaunchdEntry {
  std::string label;
  std::optional<std::string> program;
  std::vector<std::string> programArguments;
  FileURL url;  ///< the job's property list
  friend bool operator==(const LaunchdEntry&, const LaunchdEntry&) = default;
};

/// One installer receipt.
struct ReceiptInfo {
  std::string packageIdentifier;
  std::vector<FileURL> files;  ///< the files and links that the package installed
  std::optional<std::string> version;
  std::optional<Date> installDate;
  friend bool operator==(const ReceiptInfo&, const ReceiptInfo&) = default;
};

/// One installed kernel extension.
struct KernelExtensionInfo {
  std::string name;
  std::optional<std::string> bundleIdentifier;
  FileURL url;  ///< the extension's bundle
  std::optional<std::string> version;
  std::optional<SizeInfo> size;
  friend bool operator==(const KernelExtensionInfo&, const KernelExtensionInfo&) = default;
};

/// The inspected system volume.
struct VolumeInfo {
  std::string name;
  FileURL url;
  std::int64_t totalBytes = 0;
  std::int64_t freeBytes = 0;
  friend bool operator==(const VolumeInfo&, const VolumeInfo&) = default;
};

}  // namespace quarn
