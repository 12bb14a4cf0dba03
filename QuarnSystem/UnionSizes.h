#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "QuarnPlatform/base/Cancellation.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnPlatform/walking/LinkedNames.h"
#include "QuarnSystem/FileSizeCalculator.h"

namespace quarn {

/// The combined size of several items, which may contain each other. Counts each file once, even if it has several
/// names (hard links). A plain value.
struct UnionSize {
  SizeInfo size{};
  std::int64_t linkedFiles = 0;  ///< files that were met under several names
  std::int64_t heldFiles = 0;    ///< files that have a further name, which is not in the items
  std::int64_t heldBytes = 0;    ///< the space of these files: removing the items does not free it
  /// False if the sizes are not exact: there were more names of such files than are kept, so the others counted each
  /// time, or an item's size is not known.
  bool isExact = true;
  friend bool operator==(const UnionSize&, const UnionSize&) = default;
};

/// An item as a union adds it up.
struct SizedItem {
  SizeInfo size{};
  std::uint64_t device = 0;  ///< of a folder; identifies it together with `inode`. 0 if it is not known
  std::uint64_t inode = 0;
  std::vector<LinkedName> names{};  ///< of the files in it that have several names
  bool isExact = true;              ///< false if `names` is not complete
};

/// Adds up the outermost of the paths. `sized` returns an item; absent if its size is not known. Throws SizeOverflow.
UnionSize unionSize(std::vector<std::string> paths,
                    const std::function<std::optional<SizedItem>(const std::string& path)>& sized);

/// Sizes items of a volume, alone and together. A folder that `calculator()` has sized is not walked again. Copies
/// share what they remember, which is bounded. Thread-safe.
class UnionSizes {
 public:
  /// With `HiddenItems::skip`, hidden items below the items do not count.
  UnionSizes(FileManager files, HiddenItems hidden);

  /// Returns what `FileSizeCalculator::live` returns, and remembers the folders that it sizes.
  [[nodiscard]] FileSizeCalculator calculator() const;
  /// The items together. Items that do not exist or cannot be read count nothing. Throws SizeOverflow.
  [[nodiscard]] UnionSize of(const std::vector<FileURL>& urls,
                             const Cancellation& cancellation = Cancellation::never()) const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace quarn
