#pragma once

#include <vector>

#include "QuarnCore/ownership/AppIndex.h"
#include "QuarnPlatform/base/Cancellation.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnSystem/EntitlementsReader.h"

namespace quarn {

/// What the apps' bundles say, app by app, each bundle read once. Bundles in a bundle count one level deep in the usual
/// folders, `kMostEmbedded` of them at most. Cannot fail: what cannot be read says nothing. Cancelled: those not read
/// yet say nothing.
std::vector<AppFacts> readAppFacts(const FileManager& files, const EntitlementsReader& entitlements,
                                   const std::vector<AppEntity>& apps, const Cancellation& cancellation);

constexpr std::size_t kMostEmbedded = 256;

}  // namespace quarn
