#pragma once

#include <cstdint>

#include "QuarnPlatform/base/Cancellation.h"
#include "QuarnPlatform/files/ItemFacts.h"

namespace quarn {

class KeptListings;

/// What an ordered walk lists and reads. A plain value.
struct WalkOptions {
  /// How many threads may help the calling one while calls wait for a disk: twice as many gain another hundredth, half
  /// as many lose a tenth.
  static constexpr unsigned kMostHelpers = 15;

  HiddenItems hidden = HiddenItems::include;
  PackageContents packages = PackageContents::enter;
  EnumeratedFacts facts = EnumeratedFacts::none;
  /// Level of the deepest folders that are entered. What lies in them, one level below, is still listed, by name and
  /// type alone (no sizes; packages by their names), so that a consumer that counts visits sees it; nothing is read
  /// for it.
  int maximumLevel = 1 << 30;
  /// Gets the folders down to `maximumLevel` with the sizes of their files, and with hidden items, which are not
  /// yielded for that. Null for nobody. Costs a lookup per file.
  KeptListings* kept = nullptr;
  /// Threads that read ahead of the consumer; 0 reads on the consumer's thread alone.
  unsigned readAheadThreads = 0;
  /// Ends the walk, within one system call, also inside a huge folder. A `DirectoryEnumerator` takes its file
  /// manager's.
  Cancellation cancellation = Cancellation::never();
};

}  // namespace quarn
