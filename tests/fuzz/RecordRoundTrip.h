#pragma once

#include <cstdlib>
#include <string>

#include "QuarnCore/inspection/AppInspectionService.h"
#include "QuarnModels/AppInspection.h"
#include "QuarnModels/RemovalPlan.h"
#include "QuarnModels/Storage.h"
#include "QuarnModels/SystemRecords.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/wire/RecordJSON.h"

namespace quarn {

/// Decodes a value as `Record`. Aborts unless the record survives writing and reading. A DecodingError is an answer.
template <class Record>
void roundTrip(const JSONValue& value) {
  try {
    const Record record = fromJSON<Record>(JSONDecoder(value));
    const std::string written = jsonText(record);
    if (toJSON(record).dump() != written) std::abort();
    const JSONDocument read = *JSONDocument::parse(written);
    if (jsonText(fromJSON<Record>(JSONDecoder(read.root()))) != written) std::abort();
  } catch (const DecodingError&) {
  }
}

/// Decodes a value as each record that requests may hold.
inline void roundTripAsEachRecord(const JSONValue& value) {
  roundTrip<AppEntity>(value);
  roundTrip<AppInspection>(value);
  roundTrip<AppInspectionService::Options>(value);
  roundTrip<AppRemovalPlanPreview>(value);
  roundTrip<Artifact>(value);
  roundTrip<ArtifactScanner::Options>(value);
  roundTrip<KernelExtensionInfo>(value);
  roundTrip<LaunchdEntry>(value);
  roundTrip<ReceiptInfo>(value);
  roundTrip<StorageOverview>(value);
  roundTrip<VendorPathHint>(value);
}

}  // namespace quarn
