#include "QuarnCore/scans/ScanDifference.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/rpc/Methods.h"

namespace quarn {
namespace {

ScanStore::Written write(const Context& context, const std::string& file, const std::optional<bool>& progress) {
  std::function<void(const ScanStore::Progress&)> report;
  if (progress.value_or(false)) {
    report = [&](const ScanStore::Progress& value) { context.request.report(toJSON(value)); };
  }
  return context.services.scanStore().write(file, report, context.request.cancellation);
}

ScanSummary open(const Context& /*context*/, const std::string& file) {
  const Scan scan = Scan::open(file);
  ScanSummary summary{.facts = scan.facts(), .categories = scan.categories()};
  for (ScannedApp& app : scan.apps(/*withInspections=*/false)) summary.apps.push_back(std::move(app.inspection.app));
  return summary;
}

ScanDifference diff(const Context& context, const std::string& before, const std::string& after,
                    std::int64_t minimumBytes) {
  return compareScans(Scan::open(before), Scan::open(after), minimumBytes, context.request.cancellation);
}

// clang-format off
constexpr std::array kMethods{
    methodWithProgress<&write, ScanStore::Progress>("ScanStore.write", "file", "progress"),
    method<&open>("ScanStore.open", "file"),
    method<&diff>("ScanStore.diff", "before", "after", "minimumBytes"),
};
// clang-format on

}  // namespace

std::span<const MethodRow> scanMethods() { return kMethods; }

}  // namespace quarn
