#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "QuarnPlatform/json/JSON.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/wire/RecordJSON.h"

namespace {

/// A record that is read is the same after it was written and read again.
template <class Record>
void readAndWrite(const nlohmann::json& value) {
  try {
    const Record record = quarn::fromJSON<Record>(quarn::JSONDecoder(value));
    const nlohmann::json written = nlohmann::json::parse(quarn::toJSON(record).dump());
    if (!(quarn::fromJSON<Record>(quarn::JSONDecoder(written)) == record)) std::abort();
  } catch (const quarn::DecodingError&) {
    // The other way to answer.
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::optional<nlohmann::json> value =
      quarn::parseJSON(std::string_view(reinterpret_cast<const char*>(data), size));
  if (!value) return 0;
  readAndWrite<quarn::AppEntity>(*value);
  readAndWrite<quarn::AppInspection>(*value);
  readAndWrite<quarn::Artifact>(*value);
  readAndWrite<quarn::LaunchdEntry>(*value);
  readAndWrite<quarn::ReceiptInfo>(*value);
  readAndWrite<quarn::KernelExtensionInfo>(*value);
  return 0;
}
