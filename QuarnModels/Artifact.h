#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "QuarnModels/RawValue.h"
#include "QuarnModels/SizeInfo.h"
#include "QuarnPlatform/paths/FileURL.h"

namespace quarn {

/// What sort of item an artifact is.
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

/// Whose it is: the user's or the system's.
enum class ArtifactScope : std::uint8_t { user, system };
template <>
struct RawValues<ArtifactScope> {
  static constexpr std::array<std::string_view, 2> kStrings{"user", "system"};
};

/// How precious the data is.
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

/// Risk of removing it, rising.
enum class RiskLevel : std::uint8_t { safe, caution, danger };
template <>
struct RawValues<RiskLevel> {
  static constexpr std::array<std::string_view, 3> kStrings{"safe", "caution", "danger"};
};

/// One group of files or folders that belongs to an app. A plain value.
struct Artifact {
  std::string id;  ///< made by `makeID`; `riskLevel` and the texts take no part in it
  ArtifactKind kind = ArtifactKind::unknown;
  ArtifactDataClass dataClass = ArtifactDataClass::unknown;
  ArtifactScope scope = ArtifactScope::user;
  std::vector<FileURL> urls;     ///< the items; one artifact may hold several
  std::optional<SizeInfo> size;  ///< absent until sized
  RiskLevel riskLevel = RiskLevel::safe;
  double confidence = 0;                   ///< how sure the finder is that it belongs to the app, 0...1
  std::string title;                       ///< short label
  std::optional<std::string> explanation;  ///< for the user

  /// The identity of items under a kind and scope: finders that report the same make the same id. Depends on the three
  /// alone, on the URLs in order and by their paths as they stand (whether one is known to be a folder does not
  /// matter).
  static std::string makeID(ArtifactKind kind, ArtifactScope scope, const std::vector<FileURL>& urls);

  /// Makes the id again from kind, scope and URLs.
  void renewID() { id = makeID(kind, scope, urls); }

  friend bool operator==(const Artifact&, const Artifact&) = default;
};

/// Moves the artifacts of `more` behind those of `artifacts`.
void append(std::vector<Artifact>& artifacts, std::vector<Artifact> more);

}  // namespace quarn
