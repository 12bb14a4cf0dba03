#include "QuarnCore/scans/ScanStore.h"

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <future>
#include <iterator>
#include <map>
#include <memory>
#include <utility>

#include "QuarnCore/inspection/AppsService.h"
#include "QuarnCore/ownership/Leftovers.h"
#include "QuarnCore/scans/RecordedSizes.h"
#include "QuarnCore/scans/ScanWriter.h"
#include "QuarnCore/storage/UsersDashboard.h"
#include "QuarnPlatform/base/StartBeside.h"
#include "QuarnPlatform/files/HostFile.h"

// Threads of a scan that is written, once the walk and its threads have ended:
// - A second thread makes the map of ownership. It reads the volume, and nothing of the record of folders.
// - Meanwhile the calling thread finishes the record and starts the writer's first thread on it. The record no longer
//   changes then, and the calling thread takes the sizes of what it gathers from it.
// - Then it waits for the map, which no longer changes either, starts the writer's second thread on it, and looks for
//   leftovers.
// - At the end one more thread replaces the file, while the calling thread frees what it gathered.
// The writer's threads use what `Gathering` owns, so the writer is destroyed first. Destructors wait for their threads.
// After a cancellation each thread ends by itself. No lock is taken but those of the services, which any thread may
// use. Memory: the map and the record together.

namespace quarn {
namespace {

constexpr long kSearchDepth = 3;
constexpr long kSearchResults = 50;

Date now() { return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now()); }

/// Gathers the content of one scan.
class Gathering {
 public:
  Gathering(const ScanStore::Services& services, const FileManager& files,
            const std::function<void(const ScanStore::Progress&)>& onProgress, const Cancellation& cancellation)
      : services_(services),
        files_(files.cancelledBy(cancellation)),
        onProgress_(onProgress),
        cancellation_(cancellation),
        homes_(services.homes.empty() ? std::vector{files.homeDirectory()} : services.homes, files) {
    dashboard_.rememberRoots();
  }

  /// The pass over the volume. False if cancelled.
  bool scan() {
    content_.facts = {.programVersion = services_.programVersion,
                      .vendorProfiles = services_.vendorProfiles,
                      .locale = services_.locale,
                      .startedAt = now(),
                      .home = files_.homeDirectory()};
    run(ScanStep::folders, &Gathering::gatherFolders);
    if (cancellation_.isCancelled()) return false;
    startMap();
    folders_->finish();
    return true;
  }

  /// Everything else. Hands the map to the writer as soon as it has it. False if cancelled.
  bool gather(ScanWriter& writer) {
    run(ScanStep::storage, &Gathering::gatherRoots);
    run(ScanStep::apps, &Gathering::gatherApps);
    writer_ = &writer;
    run(ScanStep::ownership, &Gathering::gatherOwnership);
    run(ScanStep::system, &Gathering::gatherSystem);
    content_.facts.finishedAt = now();
    return !cancellation_.isCancelled();
  }

  [[nodiscard]] const ScanContent& content() const { return content_; }
  /// What the list holds packed: its records take several times the memory.
  [[nodiscard]] StreamedContent::Leftovers leftovers() const {
    return [this](const StreamedContent::ConsumeLeftover& consume) {
      for (std::size_t i = 0; i < leftovers_->size() && !cancellation_.isCancelled(); ++i) consume(leftovers_->at(i));
    };
  }
  [[nodiscard]] const RecordedFolders& folders() const { return *folders_; }

 private:
  void run(ScanStep step, void (Gathering::*gatherPart)()) {
    if (cancellation_.isCancelled()) return;
    if (onProgress_) onProgress_({.step = step});
    (this->*gatherPart)();
  }

  void gatherFolders() {
    content_.facts.volume = dashboard_.initialOverview().volume;
    std::function<void(const ScanStore::CategorySizes&)> report;
    if (onProgress_) report = [&](const auto& totals) { onProgress_({.step = ScanStep::folders, .totals = totals}); };
    content_.facts.hasCapacity = files_.mount().isMountPoint;
    countedRoots_ = isOfAllUsers()
                        ? usersDashboard().calculatePartitionedRoots(nullptr, report, cancellation_, folders_.get())
                        : dashboard_.calculatePartitionedRoots(report, cancellation_, folders_.get());
    if (isOfAllUsers()) gatherUsers();
    content_.categories = dashboard_.initialOverview().categories;
    for (StorageCategory& category : content_.categories) {
      for (const auto& root : countedRoots_) category.size += root.sizes.at(category.id);
    }
  }

  void gatherUsers() {
    const UsersDashboard users = usersDashboard();
    for (std::size_t home = 0; home < homes_.urls().size(); ++home) {
      content_.users.push_back(
          {.home = homes_.urls()[home], .location = homes_.locations()[home], .isRead = users.isReadable(home)});
    }
  }

  // A reader finds the roots by category, whatever the number of users. `userOf` decides which user has a root or
  // place; the scopes only save looking for the volume's own once for each user.
  void gatherRoots() {
    std::map<StorageCategoryID, std::vector<ScannedRoot>> byCategory;
    for (std::size_t home = 0; home < homes_.urls().size() && !cancellation_.isCancelled(); ++home) {
      const StorageDashboardService dashboard = dashboardOf(homes_.urls()[home]);
      for (const StorageCategoryID category : allCases<StorageCategoryID>()) {
        if (category == StorageCategoryID::free) continue;
        addCountedRoots(byCategory[category], home, category, dashboard);
        addListedRoots(byCategory[category], home, category, dashboard);
      }
      addPlaces(home, dashboard);
    }
    for (auto& [category, roots] : byCategory) {
      std::move(roots.begin(), roots.end(), std::back_inserter(content_.roots));
    }
  }

  void addCountedRoots(std::vector<ScannedRoot>& roots, std::size_t home, StorageCategoryID category,
                       const StorageDashboardService& dashboard) const {
    for (const auto& [url, sizes, owner] : countedRoots_) {
      const SizeInfo size = sizes.at(category);
      if (size == SizeInfo{} || owner.value_or(0) != home) continue;
      roots.push_back(
          {.category = category, .url = url, .size = size, .hint = dashboard.vendorHint(url, category), .user = owner});
    }
  }

  void addListedRoots(std::vector<ScannedRoot>& roots, std::size_t home, StorageCategoryID category,
                      const StorageDashboardService& dashboard) const {
    const RootScope scope = UsersDashboard::scopeOf(home);
    for (const FileURL& url : dashboard.preciseRoots(category, cancellation_, scope)) {
      if (cancellation_.isCancelled()) return;
      const std::optional<std::size_t> user = userOf(url);
      if (isOfAllUsers() && user.value_or(0) != home) continue;
      roots.push_back({.category = category,
                       .isListed = true,
                       .url = url,
                       .hint = dashboard.vendorHint(url, category),
                       .user = user});
      roots.back().size = ifPossible([&] { return dashboard.preciseSize(url, category, cancellation_, scope); });
    }
  }

  // What decides about a single path: the commands ask for the owner of one, and say what vendors know of it.
  void addPlaces(std::size_t home, const StorageDashboardService& dashboard) {
    for (const StorageCategoryID category : allCases<StorageCategoryID>()) {
      for (const FileURL& url : dashboard.categoryRoots(category, /*includeDiscovered=*/false, cancellation_,
                                                        UsersDashboard::scopeOf(home))) {
        const bool isWanted = !isOfAllUsers() || userOf(url).value_or(0) == home;
        if (isWanted) content_.places.push_back({.category = category, .url = url});
      }
    }
    for (const auto& [category, entries] : dashboard.vendorPaths()) {
      for (const VendorPathHintIndex::Entry& entry : entries) {
        const bool isWanted = !isOfAllUsers() || homes_.isOf(home, entry.path);
        if (isWanted) content_.vendorPaths.push_back(entry.hint);
      }
    }
  }

  // ---- Home folders

  [[nodiscard]] bool isOfAllUsers() const { return !services_.homes.empty(); }
  [[nodiscard]] StorageDashboardService dashboardOf(const FileURL& home) const {
    if (home == homes_.urls().front()) return dashboard_;
    StorageDashboardService dashboard = services_.dashboardOf(home, sizes_);
    dashboard.rememberRoots();
    return dashboard;
  }
  [[nodiscard]] UsersDashboard usersDashboard() const {
    return {homes_, [this](const FileURL& home) { return dashboardOf(home); }, files_};
  }
  /// In a scan of all users, the user in whose home folder the item is.
  [[nodiscard]] std::optional<std::size_t> userOf(const FileURL& url) const {
    if (!isOfAllUsers()) return std::nullopt;
    return homes_.homeOf(std::string_view(files_.realPath(url).value_or(url.path())));
  }

  void gatherApps() {
    const AppsService apps(services_.appDiscovery, sizes_);
    const AppInspectionService inspection = services_.inspection(sizes_, cancellation_);
    inspection.inspectAll(
        apps_, ScanStore::kInspection,
        [&](const AppInspection& done) {
          content_.apps.push_back(
              {.inspection = done, .size = ifPossible([&] { return apps.calculateAppSize(done.app, cancellation_); })});
        },
        cancellation_);
  }

  void startMap() {
    apps_ = AppsService(services_.appDiscovery, sizes_).discoverApps();
    mapBeingMade_ = startBeside([this] {
      return services_.ownership.mapOfUsers(homes_, apps_, OwnershipService::kEverything, nullptr, cancellation_);
    });
  }

  void gatherOwnership() {
    map_ = mapBeingMade_.get();
    receipts_ = services_.receiptScanner.snapshot();
    if (cancellation_.isCancelled()) return;
    writer_->startEntries([this](const StreamedContent::ConsumeEntry& consume) {
      map_->eachEntry([&](const OwnershipMap& ofHome, std::size_t i) {
        const Ownership entry = ofHome.ownership(i);
        consume(entry, receipts_->packageIDs(entry.url.path()));
        return !cancellation_.isCancelled();
      });
    });
    leftovers_.emplace(*map_, LeftoverOptions{.computeSizes = true, .includeSystem = true}, files_, sizes_,
                       cancellation_, recordedChanges(folders_, files_));
  }

  void gatherSystem() {
    content_.jobs = services_.launchdScanner.scan();
    content_.receipts = services_.receiptScanner.allReceipts();
    for (ReceiptInfo& receipt : content_.receipts) receipt.files.clear();  // the file has no column for them
    content_.extensions = services_.extensions(sizes_).installedKernelExtensions(/*includeMacOS=*/false);
    if (const ReadReport* report = files_.readReport()) content_.unreadable = report->items();
  }

  // What cannot be sized is in the read report.
  template <class Size>
  static std::optional<SizeInfo> ifPossible(const Size& size) {
    try {
      return size();
    } catch (const FileError&) {
      return std::nullopt;
    }
  }

  const ScanStore::Services& services_;
  const FileManager files_;
  const std::function<void(const ScanStore::Progress&)>& onProgress_;
  const Cancellation& cancellation_;
  const HomeFolders homes_;  // one, or those of all users
  std::shared_ptr<RecordedFolders> folders_ = std::make_shared<RecordedFolders>();
  // Both answer from the record, which is complete after the first step.
  const FileSizeCalculator sizes_ = recordedSizes(folders_, files_);
  StorageDashboardService dashboard_ = services_.dashboard(sizes_);
  std::vector<StorageDashboardService::PartitionedRoot> countedRoots_;
  ScanContent content_;
  std::vector<AppEntity> apps_;
  std::optional<UsersMap> map_;
  std::optional<LeftoverList> leftovers_;
  std::optional<ReceiptSnapshot> receipts_;
  ScanWriter* writer_ = nullptr;
  std::future<UsersMap> mapBeingMade_;  // last: its destructor waits for the thread, which uses the others
};

}  // namespace

const AppInspectionService::Options ScanStore::kInspection{.includeHeuristicSearch = true,
                                                           .heuristicMaxDepth = kSearchDepth,
                                                           .heuristicMaxResults = kSearchResults,
                                                           .includeDocumentsHeuristicSearch = true,
                                                           .documentsHeuristicMaxDepth = kSearchDepth,
                                                           .documentsHeuristicMaxResults = kSearchResults,
                                                           .includeVendorHeuristics = true,
                                                           .includeSystemArtifacts = true,
                                                           .includeSystemHeuristicSearch = true,
                                                           .includeGroupContainers = true,
                                                           .includeLaunchd = true,
                                                           .includeReceipts = true,
                                                           .includeKernelExtensions = true,
                                                           .computeArtifactSizes = true};

ScanStore::ScanStore(Services services, FileManager files) : services_(std::move(services)), files_(std::move(files)) {}

ScanStore::Written ScanStore::write(const std::string& file, const std::function<void(const Progress&)>& onProgress,
                                    const Cancellation& cancellation) const {
  const std::string& volume = files_.hostFolder();
  if (volume != "/" && liesInHostFolder(file, volume)) throwFileError(EROFS, "write", file);
  checkHostFile(file);
  // Every read that fails must be in the scan, also when the caller does not ask for a report.
  const FileManager files =
      files_.readReport() != nullptr ? files_ : files_.reportingTo(std::make_shared<ReadReport>());
  std::optional<Gathering> gathering(std::in_place, services_, files, onProgress, cancellation);
  if (!gathering->scan()) return {};
  ScanWriter writer(file);
  writer.startFolders(gathering->folders(), cancellation);
  if (!gathering->gather(writer)) return {};
  if (onProgress) onProgress({.step = ScanStep::writing});
  if (!writer.fill(gathering->content(), gathering->leftovers())) return {};
  Written written{.files = gathering->folders().at(0).files,
                  .folders = static_cast<std::int64_t>(gathering->folders().size()),
                  .isComplete = true};
  std::future<void> isReplaced = startBeside([&writer] { writer.commit(); });
  gathering.reset();  // takes as long as a sync
  isReplaced.get();
  std::error_code error;
  const auto bytes = std::filesystem::file_size(file, error);
  written.bytes = error ? 0 : static_cast<std::int64_t>(bytes);
  return written;
}

}  // namespace quarn
