#include <memory>
#include <string>
#include <unordered_map>
#include <utility>

#include "QuarnCore/discovery/JobSearch.h"
#include "QuarnCore/discovery/NameSearch.h"
#include "QuarnCore/discovery/StandardLocations.h"
#include "QuarnCore/inspection/AppInspectionService.h"
#include "QuarnCore/inspection/InspectionSources.h"
#include "QuarnCore/inspection/ScannerOptions.h"

namespace quarn {
namespace {

using Options = AppInspectionService::Options;
using Sought = std::function<std::vector<Artifact>(const AppEntity&)>;

// Sizes each tree once, and remembers failures too.
FileSizeCalculator remembering(const FileSizeCalculator& sizes) {
  struct Answer {
    SizeInfo size;
    std::optional<FileError> error;
  };
  const auto known = std::make_shared<std::unordered_map<std::string, Answer>>();
  FileSizeCalculator result = sizes;
  result.itemSizeExcluding = [sizes, known](const FileURL& at, const std::vector<FileURL>& excluding, bool allowSlow,
                                            bool includeHidden, const Cancellation& cancellation) {
    if (!excluding.empty() || !allowSlow || includeHidden) {
      return sizes.itemSizeExcluding(at, excluding, allowSlow, includeHidden, cancellation);
    }
    const auto [place, isNew] = known->try_emplace(at.path());
    Answer& answer = place->second;
    if (isNew) {
      try {
        answer.size = sizes.itemSize(at, /*allowSlow=*/true, /*includeHidden=*/false, cancellation);
      } catch (const FileError& error) {
        answer.error = error;
      }
    }
    if (answer.error) throw *answer.error;
    return answer.size;
  };
  return result;
}

/// Creates the search of one place for all apps, when its phase first runs.
class Searches {
 public:
  Searches(const std::vector<AppEntity>& apps, const FileManager& files, const Cancellation& cancellation)
      : apps_(std::make_shared<const std::vector<AppEntity>>(apps)), files_(files), cancellation_(cancellation) {}

  [[nodiscard]] Sought in(NameSearch::Where where, NameSearch::Limits limits) const {
    const auto search = std::make_shared<std::optional<NameSearch>>();
    return [where, limits, search, *this](const AppEntity& app) {
      if (!*search) search->emplace(where, *apps_, files_, limits, cancellation_);
      return (*search)->finds(app);
    };
  }

 private:
  std::shared_ptr<const std::vector<AppEntity>> apps_;
  FileManager files_;
  Cancellation cancellation_;
};

// The association asks for the packages of each extension again for every app.
ReceiptSnapshot rememberingPackages(ReceiptSnapshot receipts) {
  const auto known = std::make_shared<std::unordered_map<std::string, std::vector<std::string>>>();
  receipts.packageIDs = [ask = receipts.packageIDs, known](const std::string& path) {
    auto at = known->find(path);
    if (at == known->end()) at = known->emplace(path, ask(path)).first;
    return at->second;
  };
  return receipts;
}

bool needsReceipts(const Options& options) { return options.includeReceipts || options.includeKernelExtensions; }

}  // namespace

InspectionSources AppInspectionService::sourcesOfOne(const Options& options, const Cancellation& cancellation) const {
  // All phases share one snapshot of the receipts.
  const ReceiptSnapshot receipts = needsReceipts(options) ? receiptScanner_.snapshot() : ReceiptSnapshot();
  return {
      .uninstallers =
          [=, this](const AppEntity& app) { return uninstallerDiscovery_.findUninstallers(app, cancellation); },
      .artifacts =
          [=, this](const AppEntity& app, const EntitlementsInfo& entitlements) {
            return artifactScanner_.scan(app, entitlements, scannerOptions(options), cancellation);
          },
      .documents =
          [=, this](const AppEntity& app) {
            return artifactScanner_.documentsHeuristicSearch(app, options.documentsHeuristicMaxDepth,
                                                             options.documentsHeuristicMaxResults, cancellation);
          },
      .launchd =
          [this](const AppEntity& app) { return artifactScanner_.launchdArtifacts(app, launchdScanner_.scan()); },
      .receipts =
          [=, this](const AppEntity& app) { return artifactScanner_.receiptArtifacts(receipts.receiptsMatching(app)); },
      .deepInspector =
          [=, this](const AppEntity& app, const std::vector<Artifact>& found, const EntitlementsInfo& entitlements) {
            return deepInspector_.inspect(app, found, entitlements, cancellation);
          },
      .kernelExtensions =
          [=, this](const AppEntity& app) {
            return kernelExtensionAssociator_.kernelExtensionArtifacts(app, /*includeMacOS=*/false, receipts,
                                                                       cancellation);
          },
      .sizes = fileSizeCalculator_};
}

InspectionSources AppInspectionService::sourcesOfMany(const std::vector<AppEntity>& apps, const Options& options,
                                                      const Cancellation& cancellation) const {
  const FileManager files = files_.cancelledBy(cancellation);
  const ReceiptSnapshot receipts =
      needsReceipts(options) ? rememberingPackages(receiptScanner_.snapshot()) : ReceiptSnapshot();
  const Searches searches(apps, files, cancellation);
  const NameSearch::Limits limits{.maxDepth = options.heuristicMaxDepth, .maxResults = options.heuristicMaxResults};
  const ArtifactScanner::Lookups lookups{.propertyLists = rememberingPropertyListFinder(files),
                                         .userSearch = searches.in(NameSearch::Where::userLibrary, limits),
                                         .systemSearch = searches.in(NameSearch::Where::systemLibrary, limits),
                                         .sizes = remembering(fileSizeCalculator_)};
  std::shared_ptr<const JobSearch> jobs;
  if (options.includeLaunchd) jobs = std::make_shared<const JobSearch>(apps, launchdScanner_.scan());
  return {
      .uninstallers = uninstallerDiscovery_.forManyApps(cancellation),
      .artifacts =
          [=, this](const AppEntity& app, const EntitlementsInfo& entitlements) {
            return artifactScanner_.scan(app, entitlements, scannerOptions(options), lookups, cancellation);
          },
      .documents = searches.in(NameSearch::Where::documents, {.maxDepth = options.documentsHeuristicMaxDepth,
                                                              .maxResults = options.documentsHeuristicMaxResults}),
      .launchd = [this,
                  jobs](const AppEntity& app) { return artifactScanner_.launchdArtifacts(app, jobs->jobsOf(app)); },
      .receipts =
          [=, this](const AppEntity& app) { return artifactScanner_.receiptArtifacts(receipts.receiptsMatching(app)); },
      .deepInspector = [inspect = deepInspector_.forManyApps(cancellation)](
                           const AppEntity& app, const std::vector<Artifact>&,
                           const EntitlementsInfo&) { return inspect(app); },
      .kernelExtensions = kernelExtensionAssociator_.forManyApps(receipts, cancellation),
      .sizes = lookups.sizes};
}

}  // namespace quarn
