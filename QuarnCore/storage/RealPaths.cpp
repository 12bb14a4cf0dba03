#include "QuarnCore/storage/RealPaths.h"

#include <cerrno>
#include <utility>

#include "QuarnPlatform/base/FileError.h"

namespace quarn {
namespace {

// A home folder may have any number of items.
constexpr std::size_t kMostKeptPlaces = 4096;

}  // namespace

std::string RealPaths::resolvedPath(const FileURL& url) {
  return folders_.files().standardizedPath(realPath(url).value_or(url.path()));
}

bool RealPaths::itemExists(const FileURL& url) {
  const Place place = placeOf(url);
  return place.realPath || (!place.isMissing && folders_.files().itemExists(url));
}

RealPaths::Place RealPaths::placeOf(const FileURL& url) {
  const auto known = known_.find(url.path());
  if (known != known_.end()) return known->second;
  Place place = lookedUp(url);
  if (known_.size() < kMostKeptPlaces) known_.emplace(url.path(), place);
  return place;
}

RealPaths::Place RealPaths::lookedUp(const FileURL& url) {
  if (folders_.isBelowMissing(url.path())) return {.isMissing = true};
  Place place{.realPath = folders_.files().realPath(url)};
  place.isMissing = !place.realPath && meansMissing(errno);
  return place;
}

}  // namespace quarn
