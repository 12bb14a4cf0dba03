#pragma once

#include <functional>
#include <string>
#include <vector>

#include "QuarnModels/AppEntity.h"
#include "QuarnModels/Artifact.h"
#include "QuarnModels/SystemRecords.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// The app's bundle as one artifact, even if it does not exist.
Artifact appBundleArtifact(const AppEntity& app, const FileManager& files);

/// Finds the property lists in a folder with names that begin with a bundle identifier, in the order of the listing.
using PropertyListFinder = std::function<std::vector<FileURL>(const FileURL& folder, const std::string& bundleID)>;
/// Lists the folder on every call.
PropertyListFinder propertyListFinder(const FileManager& files);
/// Lists each folder once, for many apps. Use it from one thread.
PropertyListFinder rememberingPropertyListFinder(const FileManager& files);

/// The app's existing items in the Library folders of the user (or the system), in the order of the table. Without a
/// bundle identifier, the result is empty; the name alone is not sufficient.
std::vector<Artifact> userLocationArtifacts(const AppEntity& app, const FileManager& files,
                                            const PropertyListFinder& propertyLists);
std::vector<Artifact> systemLocationArtifacts(const AppEntity& app, const FileManager& files,
                                              const PropertyListFinder& propertyLists);
inline std::vector<Artifact> userLocationArtifacts(const AppEntity& app, const FileManager& files) {
  return userLocationArtifacts(app, files, propertyListFinder(files));
}
inline std::vector<Artifact> systemLocationArtifacts(const AppEntity& app, const FileManager& files) {
  return systemLocationArtifacts(app, files, propertyListFinder(files));
}

/// The existing group containers, in the order of the entitlements.
std::vector<Artifact> groupContainerArtifacts(const EntitlementsInfo& entitlements, const FileManager& files);

/// The folders that all apps of Adobe or Microsoft share, if the app is one of them by normalised name or identifier.
std::vector<Artifact> sharedVendorArtifacts(const AppEntity& app, const FileManager& files);

}  // namespace quarn
