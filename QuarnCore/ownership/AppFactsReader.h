#pragma once

#include <vector>

#include "QuarnCore/ownership/AppIndex.h"
#include "QuarnPlatform/base/Cancellation.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnSystem/EntitlementsReader.h"

namespace quarn {

/// Reads each app's bundle once and returns its facts, in the order of the apps. Embedded bundles are searched one
/// level deep in the usual folders, at most `kMostEmbedded` per app. A bundle that cannot be read, or that was not read
/// before `cancellation`, has empty facts.
std::vector<AppFacts> readAppFacts(const FileManager& files, const EntitlementsReader& entitlements,
                                   const std::vector<AppEntity>& apps, const Cancellation& cancellation);

constexpr std::size_t kMostEmbedded = 256;

}  // namespace quarn
