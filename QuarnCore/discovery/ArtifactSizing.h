#pragma once

#include <vector>

#include "QuarnModels/Artifact.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnSystem/FileSizeCalculator.h"

namespace quarn {

/// Sizes every artifact that has no size yet: the sum over its URLs whose items exist, hidden items left out.
/// Afterwards each has one, zero when nothing is there or nothing could be sized. Never throws; a sum that overflows
/// ends the program.
void sizeArtifacts(std::vector<Artifact>& artifacts, const FileSizeCalculator& calculator, const FileManager& files);

}  // namespace quarn
