#pragma once

#include <string>
#include <vector>

#include "QuarnModels/AppEntity.h"
#include "QuarnModels/Artifact.h"
#include "QuarnModels/SystemRecords.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// The app bundle itself; always one artifact, whether or not anything exists there.
Artifact appBundleArtifact(const AppEntity& app, const FileManager& files);

/// What exists of the app in the user's (the system's) Library folders, in the order of the table of locations. An app
/// without a bundle identifier has nothing there, not even by its name.
std::vector<Artifact> userLocationArtifacts(const AppEntity& app, const FileManager& files);
std::vector<Artifact> systemLocationArtifacts(const AppEntity& app, const FileManager& files);

/// The group containers that exist, in the order of the entitlements.
std::vector<Artifact> groupContainerArtifacts(const EntitlementsInfo& entitlements, const FileManager& files);

/// The folders that Adobe's and Microsoft's apps share, for an app of theirs by normalised name or identifier.
std::vector<Artifact> sharedVendorArtifacts(const AppEntity& app, const FileManager& files);

}  // namespace quarn
