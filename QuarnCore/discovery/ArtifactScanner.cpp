#include "QuarnCore/discovery/ArtifactScanner.h"

#include <algorithm>
#include <utility>

#include "QuarnCore/discovery/ArtifactSizing.h"
#include "QuarnCore/discovery/StandardLocations.h"
#include "QuarnCore/vendors/VendorArtifactDeduplicator.h"
#include "QuarnModels/ArtifactIdentity.h"
#include "QuarnPlatform/resources/Localization.h"
#include "QuarnPlatform/text/Text.h"

namespace quarn {
namespace {

constexpr std::size_t kReceiptExamples = 5;

std::int64_t allocatedBytes(const Artifact& artifact) { return artifact.size ? artifact.size->allocatedBytes : 0; }

void sortLargestFirst(std::vector<Artifact>& artifacts) {
  std::stable_sort(artifacts.begin(), artifacts.end(), [](const Artifact& left, const Artifact& right) {
    if (allocatedBytes(left) != allocatedBytes(right)) return allocatedBytes(left) > allocatedBytes(right);
    return Text::localizedCaseInsensitiveCompare(left.title, right.title) < 0;
  });
}

// True if the job's label or command contains the bundle identifier. `bundleID` is lower-cased.
bool belongsTo(const LaunchdEntry& entry, const std::string& bundleID) {
  const auto holds = [&](const std::string& text) { return Text::contains(Text::lowercased(text), bundleID); };
  return holds(entry.label) || (entry.program && holds(*entry.program)) ||
         std::any_of(entry.programArguments.begin(), entry.programArguments.end(), holds);
}

Artifact makeLaunchdArtifact(const LaunchdEntry& entry) {
  const std::string& path = entry.url.path();
  const bool isDaemon = path.find("/LaunchDaemons/") != std::string::npos;
  return identified(
      {.kind = isDaemon ? ArtifactKind::launchDaemon : ArtifactKind::launchAgent,
       .dataClass = ArtifactDataClass::configuration,
       .scope = path.starts_with("/Library") ? ArtifactScope::system : ArtifactScope::user,
       .urls = {entry.url},
       .riskLevel = RiskLevel::caution,
       .confidence = 0.65,
       .title = "launchd: " + entry.label,
       .explanation = localized("launchd job belongs to the app (label/program matches the bundle ID).")});
}

std::string receiptExamples(const std::vector<FileURL>& files) {
  if (files.empty()) return localized("No paths listed.");
  std::string examples;
  for (std::size_t i = 0; i < std::min(files.size(), kReceiptExamples); ++i) {
    examples += (i == 0 ? "" : ", ") + files[i].path();
  }
  return examples;
}

Artifact makeReceiptArtifact(const ReceiptInfo& receipt) {
  return identified(
      {.kind = ArtifactKind::receipt,
       .dataClass = ArtifactDataClass::configuration,
       .scope = ArtifactScope::system,
       .urls = receipt.files,
       .riskLevel = RiskLevel::caution,
       .confidence = 0.5,
       .title = "Receipt: " + receipt.packageIdentifier,
       .explanation = localizedTexts("Installer receipt with %@ files. Examples: %@",
                                     std::to_string(receipt.files.size()), receiptExamples(receipt.files))});
}

}  // namespace

ArtifactScanner::ArtifactScanner(FileSizeCalculator fileSizeCalculator, FileManager files)
    : fileSizeCalculator_(std::move(fileSizeCalculator)), files_(std::move(files)) {}

std::vector<Artifact> ArtifactScanner::scan(const AppEntity& app, const EntitlementsInfo& entitlements,
                                            const Options& options, const Cancellation& cancellation) const {
  const FileManager files = files_.cancelledBy(cancellation);
  const long depth = options.heuristicMaxDepth;
  const long results = options.heuristicMaxResults;
  const Lookups lookups{
      .propertyLists = propertyListFinder(files),
      .userSearch = [&](const AppEntity& sought) { return userHeuristicSearch(sought, depth, results, cancellation); },
      .systemSearch =
          [&](const AppEntity& sought) { return systemHeuristicSearch(sought, depth, results, cancellation); },
      .sizes = fileSizeCalculator_};
  return scan(app, entitlements, options, lookups, cancellation);
}

std::vector<Artifact> ArtifactScanner::scan(const AppEntity& app, const EntitlementsInfo& entitlements,
                                            const Options& options, const Lookups& lookups,
                                            const Cancellation& cancellation) const {
  const FileManager files = files_.cancelledBy(cancellation);
  std::vector<Artifact> artifacts{appBundleArtifact(app, files)};
  append(artifacts, userLocationArtifacts(app, files, lookups.propertyLists));
  if (options.includeSystemArtifacts) append(artifacts, systemLocationArtifacts(app, files, lookups.propertyLists));
  append(artifacts, groupContainerArtifacts(entitlements, files));
  if (options.includeVendorHeuristics) append(artifacts, sharedVendorArtifacts(app, files));
  if (options.includeHeuristicSearch) append(artifacts, lookups.userSearch(app));
  if (options.includeSystemHeuristicSearch) append(artifacts, lookups.systemSearch(app));
  // Artifacts with the same id have the same items, so the first one covers the others.
  artifacts = VendorArtifactDeduplicator::deduplicate(artifacts, files);
  if (options.computeSizes) sizeArtifacts(artifacts, lookups.sizes, files, cancellation);
  sortLargestFirst(artifacts);
  return artifacts;
}

std::vector<Artifact> ArtifactScanner::launchdArtifacts(const AppEntity& app,
                                                        const std::vector<LaunchdEntry>& entries) const {
  std::vector<Artifact> artifacts;
  if (!app.bundleIdentifier) return artifacts;
  const std::string bundleID = Text::lowercased(*app.bundleIdentifier);
  for (const LaunchdEntry& entry : entries) {
    if (belongsTo(entry, bundleID)) artifacts.push_back(makeLaunchdArtifact(entry));
  }
  return artifacts;
}

std::vector<Artifact> ArtifactScanner::receiptArtifacts(const std::vector<ReceiptInfo>& receipts) const {
  std::vector<Artifact> artifacts;
  artifacts.reserve(receipts.size());
  for (const ReceiptInfo& receipt : receipts) artifacts.push_back(makeReceiptArtifact(receipt));
  return artifacts;
}

}  // namespace quarn
