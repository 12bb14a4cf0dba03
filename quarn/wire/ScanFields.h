#pragma once

#include <string_view>
#include <tuple>

#include "QuarnCore/scans/ScanDifference.h"
#include "QuarnModels/RecordCodec.h"
#include "quarn/wire/RecordFields.h"

/// Field tables of the records of the difference of two scans.
namespace quarn::wire {

// clang-format off
template <> struct Fields<CategoryChange> {
  static constexpr std::string_view kName = "CategoryChange";
  static constexpr auto kMembers = std::tuple(
      member("id",     &CategoryChange::id),
      member("before", &CategoryChange::before),
      member("after",  &CategoryChange::after));
};

template <> struct Fields<FolderChange> {
  static constexpr std::string_view kName = "FolderChange";
  static constexpr auto kMembers = std::tuple(
      member("url",    &FolderChange::url),
      member("before", &FolderChange::before),
      member("after",  &FolderChange::after));
};

template <> struct Fields<AppChange> {
  static constexpr std::string_view kName = "AppChange";
  static constexpr auto kMembers = std::tuple(
      member("app",           &AppChange::app),
      member("versionBefore", &AppChange::versionBefore),
      member("before",        &AppChange::before),
      member("after",         &AppChange::after));
};

template <> struct Fields<NewLeftover> {
  static constexpr std::string_view kName = "NewLeftover";
  static constexpr auto kMembers = std::tuple(
      member("name",             &NewLeftover::name),
      member("bundleIdentifier", &NewLeftover::bundleIdentifier),
      member("size",             &NewLeftover::size),
      bytes("items",             &NewLeftover::items));
};

template <> struct Fields<ScanDifference> {
  static constexpr std::string_view kName = "ScanDifference";
  static constexpr auto kMembers = std::tuple(
      member("before",        &ScanDifference::before),
      member("after",         &ScanDifference::after),
      member("categories",    &ScanDifference::categories),
      member("folders",       &ScanDifference::folders),
      member("newApps",       &ScanDifference::newApps),
      member("goneApps",      &ScanDifference::goneApps),
      member("changedApps",   &ScanDifference::changedApps),
      member("newLeftovers",  &ScanDifference::newLeftovers),
      member("newJobs",       &ScanDifference::newJobs),
      member("newExtensions", &ScanDifference::newExtensions));
};

// clang-format on

}  // namespace quarn::wire
