#pragma once

#include "QuarnCore/discovery/ArtifactScanner.h"
#include "QuarnCore/inspection/AppInspectionService.h"

namespace quarn {

/// The options where a request or the command says nothing: every search and every size, as in a scan that is kept. The
/// records of the library have no defaults.
[[nodiscard]] const AppInspectionService::Options& usualInspectionOptions();
/// The same values for the scanner.
[[nodiscard]] ArtifactScanner::Options usualScanOptions();

}  // namespace quarn
