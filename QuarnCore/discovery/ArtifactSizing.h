#pragma once

#include <functional>
#include <vector>

#include "QuarnModels/Artifact.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnSystem/FileSizeCalculator.h"

namespace quarn {

/// Sizes the artifacts that have no size yet: the sum of their existing items, without hidden items. Afterwards every
/// artifact has a size, which is 0 if nothing exists or can be sized. If cancelled, the remaining artifacts have
/// no size. Calls `onSized`, if not null, after each artifact. Never throws. A sum that overflows terminates
/// the program.
void sizeArtifacts(std::vector<Artifact>& artifacts, const FileSizeCalculator& calculator, const FileManager& files,
                   const Cancellation& cancellation = Cancellation::never(),
                   const std::function<void()>& onSized = nullptr);

}  // namespace quarn
