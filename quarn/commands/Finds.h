#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "QuarnModels/AppInspection.h"
#include "QuarnSystem/UnionSizes.h"
#include "quarn/commands/CommandContext.h"

namespace quarn {

/// For each artifact the position of the innermost other artifact that holds all its items; absent if there is none. Of
/// artifacts with the same items the first holds the others. `pathOf` returns a standardised path. Pure function.
std::vector<std::optional<std::size_t>> holdersOf(const std::vector<Artifact>& artifacts,
                                                  const std::function<std::string(const FileURL&)>& pathOf);

/// Adds up finds, each item once: on a volume by walking it, for a scan from the scan.
class FindSizes {
 public:
  /// With `HiddenItems::skip`, hidden items in the finds do not count, as in an inspection.
  FindSizes(CommandContext& context, HiddenItems hidden);

  /// Pass this to what sizes single items, so that nothing is walked twice. Not for a scan.
  [[nodiscard]] FileSizeCalculator calculator() const { return volume_->calculator(); }
  [[nodiscard]] UnionSize together(const std::vector<FileURL>& urls) const;
  [[nodiscard]] UnionSize together(const std::vector<Artifact>& artifacts) const;
  [[nodiscard]] std::vector<std::optional<std::size_t>> holders(const std::vector<Artifact>& artifacts) const;

 private:
  CommandContext& context_;
  HiddenItems hidden_;
  std::optional<UnionSizes> volume_;  // absent for a scan
};

/// What a sum of sizes leaves to say, one sentence a line: files that count once, space that other names hold, a sum
/// that is not exact. Usually empty. Space that other names hold is only known if hidden items were counted.
std::string unionNotes(const UnionSize& together, HiddenItems hidden, CommandContext& context);

/// The same sum for a document.
nlohmann::ordered_json unionJSON(const UnionSize& together, HiddenItems hidden);

}  // namespace quarn
