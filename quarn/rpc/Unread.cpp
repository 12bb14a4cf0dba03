#include "quarn/rpc/Unread.h"

#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/terminal/UnreadSummary.h"

namespace quarn {

nlohmann::ordered_json unreadValue(const ReadReport& report, const Cancellation& cancellation) {
  const UnreadSummary summary = unreadSummary(report);
  nlohmann::ordered_json value = {{"isComplete", !cancellation.isCancelled() && !summary.isIncomplete()}};
  value.update(toJSON(summary));
  return value;
}

std::vector<RecordDescription> interfaceRecords() {
  std::vector<RecordDescription> records = describeRecords();
  records.push_back({"Unread",
                     {{"isComplete", "boolean", true},
                      {"count", "integer", true},
                      {"causes", "{UnreadableCause: integer}", true},
                      {"items", "[UnreadableItem]", true}}});
  records.push_back({"UnreadableItem",
                     {{"path", "string", true},
                      {"cause", "UnreadableCause", true},
                      {"errno", "integer", true},
                      {"name", "string", true}}});
  return records;
}

std::vector<EnumerationDescription> interfaceEnumerations() {
  std::vector<EnumerationDescription> enumerations = describeEnumerations();
  EnumerationDescription& causes = enumerations.emplace_back(EnumerationDescription{"UnreadableCause", {}});
  for (const UnreadSummary::Cause& cause : unreadSummary(ReadReport()).causes) causes.values.push_back(cause.id);
  return enumerations;
}

}  // namespace quarn
