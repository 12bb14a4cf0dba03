#pragma once

#include <string_view>
#include <tuple>

#include "QuarnCore/scans/ScanDifference.h"
#include "QuarnCore/scans/ScanStore.h"
#include "QuarnModels/RecordCodec.h"
#include "quarn/wire/RecordFields.h"
#include "quarn/wire/ScanSummary.h"

/// Field tables of the records of scans and of their differences.
namespace quarn::wire {

// clang-format off
template <> struct Fields<ScanFacts> {
  static constexpr std::string_view kName = "ScanFacts";
  static constexpr auto kMembers = std::tuple(
      member("programVersion", &ScanFacts::programVersion),
      bytes("vendorProfiles",  &ScanFacts::vendorProfiles),
      member("locale",         &ScanFacts::locale),
      member("startedAt",      &ScanFacts::startedAt),
      member("finishedAt",     &ScanFacts::finishedAt),
      member("home",           &ScanFacts::home),
      member("volume",         &ScanFacts::volume),
      member("hasCapacity",    &ScanFacts::hasCapacity),
      member("keptAbove",      &ScanFacts::keptAbove),
      bytes("files",           &ScanFacts::files),
      bytes("folders",         &ScanFacts::folders));
};

template <> struct Fields<ScanSummary> {
  static constexpr std::string_view kName = "ScanSummary";
  static constexpr auto kMembers = std::tuple(
      member("facts",      &ScanSummary::facts),
      member("categories", &ScanSummary::categories),
      member("apps",       &ScanSummary::apps),
      bytes("unreadable",  &ScanSummary::unreadable));
};

template <> struct Fields<ScanStore::Written> {
  static constexpr std::string_view kName = "ScanStore.Written";
  static constexpr auto kMembers = std::tuple(
      bytes("files",       &ScanStore::Written::files),
      bytes("folders",     &ScanStore::Written::folders),
      bytes("bytes",       &ScanStore::Written::bytes),
      member("isComplete", &ScanStore::Written::isComplete));
};

template <> struct Fields<ScanStore::Progress> {
  static constexpr std::string_view kName = "ScanStore.Progress";
  static constexpr auto kMembers = std::tuple(
      member("step",   &ScanStore::Progress::step),
      member("totals", &ScanStore::Progress::totals));
};

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
