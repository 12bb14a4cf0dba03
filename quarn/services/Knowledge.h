#pragma once

#include <vector>

#include "QuarnCore/storage/StorageSignatureRegistry.h"
#include "QuarnCore/vendors/VendorProfileFiles.h"
#include "QuarnPlatform/resources/ResourceBundle.h"

namespace quarn {

/// True if a folder has an index of vendor profiles or signatures, readable or not.
bool addsKnowledge(const ResourceBundle& bundle);

/// The profiles of `first`, then those of `more`, in their order.
VendorProfileFiles profilesOf(const ResourceBundle& first, const std::vector<ResourceBundle>& more);

/// The signatures of `first`, then those of `more`. A later rule for an extension wins. Has the version of `first`.
StorageSignatureRegistry signaturesOf(const ResourceBundle& first, const std::vector<ResourceBundle>& more);

}  // namespace quarn
