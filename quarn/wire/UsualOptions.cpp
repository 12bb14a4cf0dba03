#include "quarn/wire/UsualOptions.h"

#include "QuarnCore/inspection/ScannerOptions.h"
#include "QuarnCore/scans/ScanStore.h"

namespace quarn {

const AppInspectionService::Options& usualInspectionOptions() { return ScanStore::kInspection; }

ArtifactScanner::Options usualScanOptions() { return scannerOptions(usualInspectionOptions()); }

}  // namespace quarn
