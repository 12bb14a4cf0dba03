#pragma once

#include <string_view>

#include "QuarnModels/Artifact.h"

namespace quarn {

/// A folder with data of one kind from many apps. A path without a leading "/" is in the home
/// folder. The standard locations and the searches by name share these rows.
struct LibraryFolder {
  std::string_view path;
  ArtifactKind kind;
  ArtifactDataClass dataClass;
  RiskLevel risk;
};

namespace library {

using Kind = ArtifactKind;
using Class = ArtifactDataClass;
using Risk = RiskLevel;

// clang-format off
constexpr LibraryFolder kCaches{
    .path = "Library/Caches", .kind = Kind::cache, .dataClass = Class::rebuildable, .risk = Risk::safe};
constexpr LibraryFolder kLogs{
    .path = "Library/Logs", .kind = Kind::logs, .dataClass = Class::rebuildable, .risk = Risk::safe};
constexpr LibraryFolder kPreferences{
    .path = "Library/Preferences", .kind = Kind::preferences, .dataClass = Class::configuration, .risk = Risk::caution};
constexpr LibraryFolder kPreferencesByHost{
    .path = "Library/Preferences/ByHost", .kind = Kind::preferences, .dataClass = Class::configuration,
    .risk = Risk::caution};
constexpr LibraryFolder kSavedStates{
    .path = "Library/Saved Application State", .kind = Kind::savedState, .dataClass = Class::rebuildable,
    .risk = Risk::safe};
constexpr LibraryFolder kContainers{
    .path = "Library/Containers", .kind = Kind::container, .dataClass = Class::userData, .risk = Risk::caution};
constexpr LibraryFolder kScripts{
    .path = "Library/Application Scripts", .kind = Kind::container, .dataClass = Class::configuration,
    .risk = Risk::caution};
constexpr LibraryFolder kHTTPStorages{
    .path = "Library/HTTPStorages", .kind = Kind::cache, .dataClass = Class::rebuildable, .risk = Risk::safe};
constexpr LibraryFolder kApplicationSupport{
    .path = "Library/Application Support", .kind = Kind::applicationSupport, .dataClass = Class::userData,
    .risk = Risk::caution};
constexpr LibraryFolder kLaunchAgents{
    .path = "Library/LaunchAgents", .kind = Kind::launchAgent, .dataClass = Class::configuration,
    .risk = Risk::caution};

constexpr LibraryFolder kSystemCaches{
    .path = "/Library/Caches", .kind = Kind::cache, .dataClass = Class::rebuildable, .risk = Risk::safe};
constexpr LibraryFolder kSystemLogs{
    .path = "/Library/Logs", .kind = Kind::logs, .dataClass = Class::rebuildable, .risk = Risk::safe};
constexpr LibraryFolder kSystemPreferences{
    .path = "/Library/Preferences", .kind = Kind::preferences, .dataClass = Class::configuration,
    .risk = Risk::caution};
constexpr LibraryFolder kSystemApplicationSupport{
    .path = "/Library/Application Support", .kind = Kind::applicationSupport, .dataClass = Class::shared,
    .risk = Risk::danger};
// clang-format on

}  // namespace library
}  // namespace quarn
