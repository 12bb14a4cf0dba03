#include <memory>
#include <string>
#include <unordered_map>
#include <utility>

#include "QuarnCore/discovery/JobSearch.h"
#include "QuarnCore/discovery/NameSearch.h"
#include "QuarnCore/discovery/StandardLocations.h"
#include "QuarnCore/inspection/AppInspectionService.h"
#include "QuarnCore/inspection/InspectionSources.h"

namespace quarn {
namespace {

using Options = AppInspectionService::Options;
using Sought = std::function<std::vector<Artifact>(const AppEntity&)>;

ArtifactScanner::Options scanOptions(const Options& options) {
  return {.includeHeuristicSearch = options.includeHeuristicSearch,
          .heuristicMaxDepth = options.heuristicMaxDepth,
          .heuristicMaxResults = options.heuristicMaxResults,
          .includeVendorHeuristics = options.includeVendorHeuristics,
          .includeSystemArtifacts = options.includeSystemArtifacts,
          .includeSystemHeuristicSearch = options.includeSystemHeuristicSearch,
          .computeSizes = options.computeArtifactSizes};
}

// Each tree is sized once; a failure is remembered too.
FileSizeCalculator remembering(const FileSizeCalculator& sizes) {
  struct Answer {
    SizeInfo size;
    std::optional<FileError> error;
  };
  const auto known = std::make_shared<std::unordered_map<std::string, Answer>>();
  FileSizeCalculator result = sizes;
  result.itemSizeExcluding = [sizes, known](const FileURL& at, const std::vector<FileURL>& excluding, bool allowSlow,
                                            bool includeHidden) {
    if (!excluding.empty() || !allowSlow || includeHidden) {
      return sizes.itemSizeExcluding(at, excluding, allowSlow, includeHidden);
    }
    const auto [place, isNew] = known->try_emplace(at.path());
    Answer& answer = place->second;
    if (isNew) {
      try {
        answer.size = sizes.itemSize(at, /*allowSlow=*/true, /*includeHidden=*/false);
      } catch (const FileError& error) {
        answer.error = error;
      }
    }
    if (answer.error) throw *answer.error;
    return answer.size;
  };
  return result;
}

// The search is made when it is first asked, which is when its phase runs.
Sought search(NameSearch::Where where, const std::vector<AppEntity>& apps, const FileManager& files, long maxDepth,
              long maxResults) {
  const auto made = std::make_shared<std::optional<NameSearch>>();
  return [=, &apps, &files](const AppEntity& app) {
    if (!*made) made->emplace(where, apps, files, maxDepth, maxResults);
    return (*made)->finds(app);
  };
}

// Few apps have an extension, and each extension is asked about for every app.
ReceiptSnapshot rememberingPackages(ReceiptSnapshot receipts) {
  const auto known = std::make_shared<std::unordered_map<std::string, std::vector<std::string>>>();
  receipts.packageIDs = [ask = receipts.packageIDs, known](const std::string& path) {
    auto at = known->find(path);
    if (at == known->end()) at = known->emplace(path, ask(path)).first;
    return at->second;
  };
  return receipts;
}

}  // namespace

InspectionSources AppInspectionService::sourcesOfOne(const Options& options) const {
  // The phases that ask for receipts share one reading.
  const bool needsReceipts = options.includeReceipts || options.includeKernelExtensions;
  const ReceiptSnapshot receipts = needsReceipts ? receiptScanner_.snapshot() : ReceiptSnapshot();
  return {.uninstallers = [this](const AppEntity& app) { return uninstallerDiscovery_.findUninstallers(app); },
          .artifacts =
              [this, options](const AppEntity& app, const EntitlementsInfo& entitlements) {
                return artifactScanner_.scan(app, entitlements, scanOptions(options));
              },
          .documents =
              [this, options](const AppEntity& app) {
                return artifactScanner_.documentsHeuristicSearch(app, options.documentsHeuristicMaxDepth,
                                                                 options.documentsHeuristicMaxResults);
              },
          .launchd =
              [this](const AppEntity& app) { return artifactScanner_.launchdArtifacts(app, launchdScanner_.scan()); },
          .receipts =
              [this, receipts](const AppEntity& app) {
                return artifactScanner_.receiptArtifacts(receipts.receiptsMatching(app));
              },
          .deepInspector =
              [this](const AppEntity& app, const std::vector<Artifact>& found, const EntitlementsInfo& entitlements) {
                return deepInspector_.inspect(app, found, entitlements);
              },
          .kernelExtensions =
              [this, receipts](const AppEntity& app) {
                return kernelExtensionAssociator_.kernelExtensionArtifacts(app, /*includeMacOS=*/false, receipts);
              },
          .sizes = fileSizeCalculator_};
}

InspectionSources AppInspectionService::sourcesOfMany(const std::vector<AppEntity>& apps,
                                                      const Options& options) const {
  const bool needsReceipts = options.includeReceipts || options.includeKernelExtensions;
  const ReceiptSnapshot receipts = needsReceipts ? rememberingPackages(receiptScanner_.snapshot()) : ReceiptSnapshot();
  const FileSizeCalculator sizes = remembering(fileSizeCalculator_);
  const long depth = options.heuristicMaxDepth;
  const long results = options.heuristicMaxResults;
  const ArtifactScanner::Lookups lookups{
      .propertyLists = rememberingPropertyListFinder(files_),
      .userSearch = search(NameSearch::Where::userLibrary, apps, files_, depth, results),
      .systemSearch = search(NameSearch::Where::systemLibrary, apps, files_, depth, results),
      .sizes = sizes};
  std::shared_ptr<const JobSearch> jobs;
  if (options.includeLaunchd) jobs = std::make_shared<const JobSearch>(apps, launchdScanner_.scan());
  InspectionSources sources = sourcesOfOne(options);
  sources.uninstallers = uninstallerDiscovery_.forManyApps();
  sources.artifacts = [this, options, lookups](const AppEntity& app, const EntitlementsInfo& entitlements) {
    return artifactScanner_.scan(app, entitlements, scanOptions(options), lookups);
  };
  sources.documents = search(NameSearch::Where::documents, apps, files_, options.documentsHeuristicMaxDepth,
                             options.documentsHeuristicMaxResults);
  sources.launchd = [this, jobs](const AppEntity& app) {
    return artifactScanner_.launchdArtifacts(app, jobs->jobsOf(app));
  };
  sources.receipts = [this, receipts](const AppEntity& app) {
    return artifactScanner_.receiptArtifacts(receipts.receiptsMatching(app));
  };
  sources.deepInspector = [inspect = deepInspector_.forManyApps()](const AppEntity& app, const std::vector<Artifact>&,
                                                                   const EntitlementsInfo&) { return inspect(app); };
  sources.kernelExtensions = [associate = kernelExtensionAssociator_.forManyApps(receipts)](const AppEntity& app) {
    return associate(app);
  };
  sources.sizes = sizes;
  return sources;
}

}  // namespace quarn
