#include <cerrno>
#include <memory>

#include "QuarnCore/scans/ScanDifference.h"
#include "QuarnPlatform/files/ReadReport.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/rpc/Methods.h"
#include "quarn/wire/ScanSummary.h"

namespace quarn {
namespace {

// A path of the host. The process may run in any folder, so a relative path would name none that the client knows; the
// system would end the path at a NUL.
const std::string& namedHostFile(std::string_view param, const std::string& file) {
  const bool isPath = file.starts_with('/') && file.find('\0') == std::string::npos;
  if (!isPath) throw DecodingError(std::string(param), "is not an absolute path of this computer");
  return file;
}

// Other requests read the volume too, so the scan gets a report of its own for what it cannot read.
ScanStore::Written writeScanFile(const Context& context, const std::string& file) {
  (void)namedHostFile("file", file);
  const auto unread = std::make_shared<ReadReport>();
  std::function<void(const ScanStore::Progress&)> report;
  if (context.request.report) {
    report = [&](const ScanStore::Progress& value) { context.request.report(toJSON(value)); };
  }
  const Cancellation& cancellation = context.request.cancellation;
  const std::unique_ptr<Services> services = context.services.forRequest(unread, cancellation);
  const ScanStore::Written written = services->scanStore().write(file, report, cancellation);
  if (ReadReport* all = context.services.files.readReport()) {
    for (const UnreadableItem& item : unread->items()) all->add(item.path, item.error == 0 ? EXDEV : item.error);
  }
  return written;
}

ScanSummary openScanFile(const Context& /*context*/, const std::string& file) {
  const Scan scan = Scan::open(namedHostFile("file", file));
  ScanSummary summary{.facts = scan.facts(),
                      .categories = scan.categories(),
                      .unreadable = static_cast<std::int64_t>(scan.unreadable().size())};
  for (ScannedApp& app : scan.apps(/*withInspections=*/false)) summary.apps.push_back(std::move(app.inspection.app));
  return summary;
}

ScanDifference compareScanFiles(const Context& context, const std::string& before, const std::string& after,
                                std::int64_t minimumBytes) {
  const std::string oldFile = namedHostFile("before", before);
  const std::string newFile = namedHostFile("after", after);
  if (minimumBytes < 0) throw DecodingError("minimumBytes", "negative");
  const Scan old = Scan::open(oldFile);
  return compareScans(old, Scan::open(newFile), minimumBytes, context.request.cancellation);
}

constexpr std::array kScanMethods{
    methodWithProgress<&writeScanFile, ScanStore::Progress>("ScanStore.write", "file"),
    method<&openScanFile>("ScanStore.open", "file"),
    method<&compareScanFiles>("ScanStore.diff", "before", "after", "minimumBytes"),
};

}  // namespace

std::span<const MethodRow> scanMethods() { return kScanMethods; }

}  // namespace quarn
