#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "QuarnModels/AppEntity.h"
#include "QuarnModels/RawValue.h"

namespace quarn {

/// How much a removal is to take.
enum class CleanupMode : std::uint8_t { cacheOnly, associatedDataOnly, removeApp, aggressive };
template <>
struct RawValues<CleanupMode> {
  static constexpr std::array<std::string_view, 4> kStrings{"cacheOnly", "associatedDataOnly", "removeApp",
                                                            "aggressive"};
};

/// One step of a removal that a shell may carry out; nothing here does.
struct RemovalOperationPreview {
  /// What the step does. `deletePermanently` is never planned.
  enum class Type : std::uint8_t {
    openUninstaller,
    moveToTrash,
    moveToQuarantine,
    deletePermanently,
    disableLaunchServices,
    quitApp,
  };

  Type type = Type::openUninstaller;
  std::vector<FileURL> urls;   ///< what it acts on
  bool reversible = false;     ///< whether it can be undone
  bool requiresAdmin = false;  ///< whether administrator rights may be needed
  std::optional<std::string> explanation;
  friend bool operator==(const RemovalOperationPreview&, const RemovalOperationPreview&) = default;
};
template <>
struct RawValues<RemovalOperationPreview::Type> {
  static constexpr std::array<std::string_view, 6> kStrings{
      "openUninstaller", "moveToTrash", "moveToQuarantine", "deletePermanently", "disableLaunchServices", "quitApp"};
};

/// The ordered steps of a removal, with what to tell the user before it. A plain value.
struct AppRemovalPlanPreview {
  /// Where the plan stands; a planner makes previews.
  enum class Status : std::uint8_t { draft, running, finished, preview };

  CleanupMode mode = CleanupMode::cacheOnly;
  AppEntity app;
  std::optional<FileURL> recommendedUninstaller;
  std::vector<RemovalOperationPreview> operations;
  std::vector<std::string> notes;
  std::int64_t estimatedBytes = 0;  ///< allocated bytes of what is selected
  Status status = Status::preview;
  friend bool operator==(const AppRemovalPlanPreview&, const AppRemovalPlanPreview&) = default;
};
template <>
struct RawValues<AppRemovalPlanPreview::Status> {
  static constexpr std::array<std::string_view, 4> kStrings{"draft", "running", "finished", "preview"};
};

}  // namespace quarn
