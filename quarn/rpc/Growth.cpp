#include "quarn/rpc/Growth.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/wire/RecordJSON.h"

namespace quarn {
namespace {

using Places = std::unordered_map<std::string_view, std::size_t>;

Places placesOf(const std::vector<Artifact>& artifacts) {
  Places places;
  for (std::size_t i = 0; i < artifacts.size(); ++i) places.emplace(artifacts[i].id, i);
  return places;
}

/// What leads from a list of artifacts to the next one; ids occur once in each.
struct ArtifactChange {
  std::vector<std::string> removed;
  std::vector<Artifact> artifacts;
};

// The client keeps its order, so what does not follow that order in the new list is removed and sent again.
ArtifactChange changeBetween(const std::vector<Artifact>& before, const std::vector<Artifact>& after) {
  const Places places = placesOf(after);
  ArtifactChange change;
  std::size_t kept = 0;
  for (const Artifact& artifact : before) {
    const auto place = places.find(artifact.id);
    if (place == places.end() || place->second != kept) {
      change.removed.push_back(artifact.id);
    } else {
      if (after[kept] != artifact) change.artifacts.push_back(after[kept]);
      ++kept;
    }
  }
  change.artifacts.insert(change.artifacts.end(), after.begin() + static_cast<std::ptrdiff_t>(kept), after.end());
  return change;
}

}  // namespace

AppInspectionService::Progress InspectionGrowth::onPhase() const {
  if (!request_.report) return nullptr;
  return [this](AppInspectionService::Phase phase) { request_.report(toJSON(PhaseProgress{.phase = phase})); };
}

AppInspectionService::Growth InspectionGrowth::onGrowth() {
  if (!request_.report) return nullptr;
  return [this](AppInspectionService::Phase phase, const AppInspection& soFar) { send(phase, soFar); };
}

void InspectionGrowth::send(AppInspectionService::Phase phase, const AppInspection& soFar) {
  PhaseProgress progress{.phase = phase};
  if (soFar.uninstallers != sent_.uninstallers) progress.uninstallers = soFar.uninstallers;
  ArtifactChange change = changeBetween(sent_.artifacts, soFar.artifacts);
  if (!change.removed.empty()) progress.removed = std::move(change.removed);
  if (!change.artifacts.empty()) progress.artifacts = std::move(change.artifacts);
  if (progress == PhaseProgress{.phase = phase}) return;
  sent_ = soFar;
  request_.report(toJSON(progress));
}

TopItemsService ItemsGrowth::watched(const TopItemsService& service) {
  if (!request_.report) return service;
  return service.growing([this](const std::vector<TopItem>& soFar) { send(soFar); });
}

std::vector<TopItem> ItemsGrowth::finish(std::vector<TopItem> result) {
  if (request_.report) send(result);
  return result;
}

void ItemsGrowth::send(const std::vector<TopItem>& soFar) {
  if (soFar == sent_) return;
  const auto differs = std::mismatch(sent_.begin(), sent_.end(), soFar.begin(), soFar.end()).second;
  request_.report(toJSON(ItemsProgress{.kept = differs - soFar.begin(), .items = {differs, soFar.end()}}));
  sent_ = soFar;
}

FileSizeCalculator SizeGrowth::watched(const FileSizeCalculator& usual, const FileManager& files) {
  if (!request_.report) return usual;
  return FileSizeCalculator::growing(files, [this](const SizeInfo& soFar) { send(soFar); });
}

SizeInfo SizeGrowth::finish(const SizeInfo& result) const {
  if (request_.report) request_.report(toJSON(SizeProgress{result}));
  return result;
}

void SizeGrowth::send(const SizeInfo& soFar) const { request_.report(toJSON(SizeProgress{before_ + soFar})); }

}  // namespace quarn
