#include "QuarnPlatform/walking/FolderListing.h"

namespace quarn {

void FolderListing::clear() {
  entries.clear();
  names.clear();
  folders.clear();
  wantsSizes = false;
  isPackage = false;
  error = 0;
}

}  // namespace quarn
