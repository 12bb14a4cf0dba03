#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "QuarnModels/AppEntity.h"
#include "QuarnModels/RawValue.h"

namespace quarn {

/// How much a removal selects.
enum class CleanupMode : std::uint8_t { cacheOnly, associatedDataOnly, removeApp, aggressive };
template <>
struct RawValues<CleanupMode> {
  static constexpr std::array<std::string_view, 4> kStrings{"cacheOnly", "associatedDataOnly", "removeApp",
                                                            "aggressive"};
};

/// One step of a removal. The library never executes it.
struct RemovalOperationPreview {
  /// The action of a step. The planner never uses `deletePermanently`.
  enum class Type : std::uint8_t {
    openUninstaller,
    moveToTrash,
    moveToQuarantine,
    deletePermanently,
    disableLaunchServices,
    quitApp,
  };

  Type type = Type::openUninstaller;
  std::vector<FileURL> urls{};  ///< the items of the step
  bool reversible = false;      ///< the step can be undone
  bool requiresAdmin = false;   ///< the step may need administrator rights
  std::optional<std::string> explanation{};
  friend bool operator==(const RemovalOperationPreview&, const RemovalOperationPreview&) = default;
};
template <>
struct RawValues<RemovalOperationPreview::Type> {
  static constexpr std::array<std::string_view, 6> kStrings{
      "openUninstaller", "moveToTrash", "moveToQuarantine", "deletePermanently", "disableLaunchServices", "quitApp"};
};

/// The steps of a removal in order, and notes for the user.
struct AppRemovalPlanPreview {
  /// The state of a plan. The planner creates previews only.
  enum class Status : std::uint8_t { draft, running, finished, preview };

  CleanupMode mode = CleanupMode::cacheOnly;
  AppEntity app{};
  std::optional<FileURL> recommendedUninstaller{};
  std::vector<RemovalOperationPreview> operations{};
  std::vector<std::string> notes{};
  std::int64_t estimatedBytes = 0;  ///< allocated bytes of the selected artifacts
  Status status = Status::preview;
  friend bool operator==(const AppRemovalPlanPreview&, const AppRemovalPlanPreview&) = default;
};
template <>
struct RawValues<AppRemovalPlanPreview::Status> {
  static constexpr std::array<std::string_view, 4> kStrings{"draft", "running", "finished", "preview"};
};

}  // namespace quarn
