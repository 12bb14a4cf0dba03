#pragma once

#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "QuarnPlatform/walking/FolderLister.h"
#include "tests/support/MacVolume.h"
#include "tests/support/MemoryVolume.h"

namespace quarn {

/// A folder "/f" of a volume, listed directly.
class Listing : public ::testing::Test {
 protected:
  FileDescriptor open() const { return volume.files().openDirectory(FileURL("/f"), Links::doNotFollow); }

  FolderListing listed(const WalkOptions& options, int level = 1) const {
    FolderListing listing;
    FolderLister(options).list(open().get(), level, isAbandoned, listing);
    return listing;
  }

  static std::vector<std::string> names(const FolderListing& listing) {
    std::vector<std::string> result;
    for (const FolderListing::Entry& entry : listing.entries) result.emplace_back(listing.name(entry));
    return result;
  }

  MacVolume volume = volumeInMemory();
  std::atomic<bool> isAbandoned = false;
};

}  // namespace quarn
