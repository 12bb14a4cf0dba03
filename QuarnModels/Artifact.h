#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "QuarnModels/RawValue.h"
#include "QuarnModels/SizeInfo.h"
#include "QuarnPlatform/paths/FileURL.h"

namespace quarn {

/// The kind of an artifact's items.
enum class ArtifactKind : std::uint8_t {
  appBundle,
  uninstaller,
  cache,
  logs,
  preferences,
  applicationSupport,
  container,
  groupContainer,
  savedState,
  launchAgent,
  launchDaemon,
  receipt,
  kernelExtension,
  unknown,
};
template <>
struct RawValues<ArtifactKind> {
  static constexpr std::array<std::string_view, 14> kStrings{
      "appBundle",      "uninstaller", "cache",       "logs",         "preferences", "applicationSupport", "container",
      "groupContainer", "savedState",  "launchAgent", "launchDaemon", "receipt",     "kernelExtension",    "unknown"};
};

/// Whether the items belong to the user or to the system.
enum class ArtifactScope : std::uint8_t { user, system };
template <>
struct RawValues<ArtifactScope> {
  static constexpr std::array<std::string_view, 2> kStrings{"user", "system"};
};

/// The nature of the data, which decides about the modes that select it.
enum class ArtifactDataClass : std::uint8_t {
  app,
  rebuildable,
  syncRestorable,
  configuration,
  userData,
  shared,
  unknown,
};
template <>
struct RawValues<ArtifactDataClass> {
  static constexpr std::array<std::string_view, 7> kStrings{
      "app", "rebuildable", "syncRestorable", "configuration", "userData", "shared", "unknown"};
};

/// The risk of removing the items, in ascending order.
enum class RiskLevel : std::uint8_t { safe, caution, danger };
template <>
struct RawValues<RiskLevel> {
  static constexpr std::array<std::string_view, 3> kStrings{"safe", "caution", "danger"};
};

/// A group of files or folders that belongs to an app.
struct Artifact {
  std::string id{};  ///< from `makeID`; does not depend on `riskLevel` and the texts
  ArtifactKind kind = ArtifactKind::unknown;
  ArtifactDataClass dataClass = ArtifactDataClass::unknown;
  ArtifactScope scope = ArtifactScope::user;
  std::vector<FileURL> urls{};     ///< one or more items
  std::optional<SizeInfo> size{};  ///< absent if not sized yet
  RiskLevel riskLevel = RiskLevel::safe;
  double confidence = 0;                     ///< probability that it belongs to the app, 0 to 1
  std::string title{};                       ///< short label
  std::optional<std::string> explanation{};  ///< for the user

  /// Makes the id from kind, scope and URLs. The same items reported by two phases get the same id. The order of the
  /// URLs matters; the flag "known to be a folder" does not.
  static std::string makeID(ArtifactKind kind, ArtifactScope scope, const std::vector<FileURL>& urls);

  /// Recomputes the id after a change of kind, scope or URLs.
  void renewID() { id = makeID(kind, scope, urls); }

  friend bool operator==(const Artifact&, const Artifact&) = default;
};

/// Moves the artifacts of `more` to the end of `artifacts`.
void append(std::vector<Artifact>& artifacts, std::vector<Artifact> more);

}  // namespace quarn
