import os
def sub(path, *pairs):
    s=open(path).read()
    for a,b in pairs:
        assert a in s, (path,a)
        s=s.replace(a,b,1)
    open(path,'w').write(s)
sub('QuarnCore/scans/ScanSchema.h',('kScanFormat = 1;','kScanFormat = 2;'))
sub('QuarnCore/scans/ScanSchema.cpp',
('''    ScanTable{.name = "categories", .columns = "category, allocated, logical"},
''','''    ScanTable{.name = "users", .columns = "id INTEGER PRIMARY KEY, path, is_folder, is_read"},
    ScanTable{.name = "categories", .columns = "category, allocated, logical"},
'''),
('"hint_title, hint_explanation, hint_risk, hint_path"}','"hint_title, hint_explanation, hint_risk, hint_path, user"}'))
sub('QuarnCore/scans/ScanContent.h',
('''/// A folder or file of a storage category.
''','''/// A user of a scan of all users.
struct ScannedUser {
  FileURL home{};      ///< the home folder, without links
  bool isRead = true;  ///< false if it could not be listed
  friend bool operator==(const ScannedUser&, const ScannedUser&) = default;
};

/// A folder or file of a storage category.
'''),
('''  std::optional<VendorPathHint> hint{};
  friend bool operator==(const ScannedRoot&''','''  std::optional<VendorPathHint> hint{};
  std::optional<std::int64_t> user{};  ///< the number of the user whose home folder has it, from 1; absent for others
  friend bool operator==(const ScannedRoot&'''),
('''  ScanFacts facts{};
  std::vector<StorageCategory> categories{};''','''  ScanFacts facts{};
  std::vector<ScannedUser> users{};  ///< of a scan of all users; else empty
  std::vector<StorageCategory> categories{};'''))
sub('QuarnCore/scans/ScanRows.h',
('''template <class Row, class Category>
void categoryColumns''','''template <class Row, class Number, class User>
void userColumns(Row& row, Number& id, User& user) {
  row(id, user.home, user.isRead);
}

template <class Row, class Category>
void categoryColumns'''),
('''hint.dataClass, hint.title, hint.explanation, hint.risk, hint.path);
}

template <class Row, class Place>''','''hint.dataClass, hint.title, hint.explanation, hint.risk, hint.path, root.user);
}

template <class Row, class Place>'''))
sub('QuarnCore/scans/ScanWriter.cpp',
('''void writeStorage(const Database& database, const ScanContent& content) {
''','''void writeStorage(const Database& database, const ScanContent& content) {
  Table users(database, "users");
  std::int64_t userID = 0;
  for (const ScannedUser& user : content.users) {
    ++userID;
    RowWriter row = users.row();
    scans::userColumns(row, userID, user);
  }
'''))
sub('QuarnCore/scans/Scan.h',
('''  [[nodiscard]] std::vector<StorageCategory> categories() const;
''','''  /// The users of a scan of all users; empty for a scan of one home folder.
  [[nodiscard]] const std::vector<ScannedUser>& users() const;
  [[nodiscard]] std::vector<StorageCategory> categories() const;
'''))
sub('QuarnCore/scans/Scan.cpp',
('''void addArtifacts(''','''std::vector<ScannedUser> readUsers(const Database& database) {
  std::vector<ScannedUser> users;
  eachRow(database, "SELECT * FROM users ORDER BY id", [&](RowReader& row) {
    std::int64_t id = 0;
    scans::userColumns(row, id, users.emplace_back());
    checkID(id, users.size() - 1);
  });
  return users;
}

void addArtifacts('''),
('''  ScanFacts facts{};
  std::set<''','''  ScanFacts facts{};
  std::vector<ScannedUser> users{};
  std::set<'''),
('''      return readFacts(database);
    });
''','''      return readFacts(database);
    });
    scan.state_->users = scan.reading({"users"}, readUsers);
'''),
('''const ScanFacts& Scan::facts() const { return state_->facts; }
''','''const ScanFacts& Scan::facts() const { return state_->facts; }
const std::vector<ScannedUser>& Scan::users() const { return state_->users; }
'''),
('''  return reading({"category_roots"}, [](const Database& database) {''','''  return reading({"category_roots"}, [&](const Database& database) {'''),
('''      roots.back().hint = hintOf(hint);
''','''      roots.back().hint = hintOf(hint);
      if (roots.back().user) (void)ownerOf(*roots.back().user, state_->users);
'''),
('''  return {.facts = facts(),
          .categories''','''  return {.facts = facts(),
          .users = users(),
          .categories'''))
sub('QuarnCore/storage/HomeFolders.h',
('''  HomeFolders(const std::vector<FileURL>& homes, const FileManager& files);
''','''  HomeFolders(const std::vector<FileURL>& homes, const FileManager& files);
  /// Of folders whose paths have no links, as a scan keeps them.
  explicit HomeFolders(const std::vector<FileURL>& locations);
'''),
(''' private:
  std::vector<FileURL> urls_;''',''' private:
  [[nodiscard]] bool add(const FileURL& home, std::string location);

  std::vector<FileURL> urls_;'''))
s=open('QuarnCore/storage/HomeFolders.cpp').read()
a=s.index('HomeFolders::HomeFolders('); b=s.index('std::optional<std::size_t> HomeFolders::homeOf(std::string_view')
s=s[:a]+'''HomeFolders::HomeFolders(const std::vector<FileURL>& homes, const FileManager& files) {
  for (const FileURL& home : homes) {
    const std::string location = files.realPath(home).value_or(files.standardizedPath(home));
    if (!add(home, location)) continue;
    // Walks name what they find by the path that they were given.
    byPath_.insert(files.standardizedPath(location), urls_.size() - 1);
    byPath_.insert(files.standardizedPath(home), urls_.size() - 1);
  }
}

HomeFolders::HomeFolders(const std::vector<FileURL>& locations) {
  for (const FileURL& home : locations) (void)add(home, home.path());
}

bool HomeFolders::add(const FileURL& home, std::string location) {
  const auto node = byPath_.find(location);
  if (node != PathTrie<std::size_t>::kNone && byPath_.value(node) != nullptr) return false;
  byPath_.insert(location, urls_.size());
  urls_.push_back(home);
  locations_.push_back(std::move(location));
  return true;
}

'''+s[b:]
s=s.replace('#include <unordered_set>\n','#include <utility>\n')
open('QuarnCore/storage/HomeFolders.cpp','w').write(s)
sub('QuarnCore/storage/UsersDashboard.h',
('''  /// The roots added up:''','''  /// False if the home folder at this position cannot be listed.
  [[nodiscard]] bool isReadable(std::size_t home) const;
  /// Sorts users by their space, the largest first, and what no user has last.
  static void sort(std::vector<Part>& parts);
  /// The roots added up:'''))
sub('QuarnCore/storage/UsersDashboard.cpp',
('''  for (const FileURL& home : homes_.urls()) {
    parts.push_back({.home = home, .sizes = noSizes(), .isRead = canBeListed(home, files_)});
  }
''','''  for (std::size_t home = 0; home < homes_.urls().size(); ++home) {
    parts.push_back({.home = homes_.urls()[home], .sizes = noSizes(), .isRead = isReadable(home)});
  }
'''))
s=open('QuarnCore/storage/UsersDashboard.cpp').read()
a=s.index('bool canBeListed('); b=s.index('}  // namespace\n')
s=s[:a]+s[b:]
a=s.index('  std::stable_sort('); b=s.index('  return parts;',a)
s=s[:a]+'  sort(parts);\n'+s[b:]
s=s.replace('''std::vector<UsersDashboard::Part> UsersDashboard::parts(''','''bool UsersDashboard::isReadable(std::size_t home) const {
  try {
    (void)files_.openDirectory(homes_.urls()[home], Links::follow);
    return true;
  } catch (const FileError&) {
    return false;
  }
}

void UsersDashboard::sort(std::vector<Part>& parts) {
  std::stable_sort(parts.begin(), parts.end(), [](const Part& left, const Part& right) {
    if (!left.home || !right.home) return left.home.has_value() && !right.home;
    return left.size().allocatedBytes > right.size().allocatedBytes;
  });
}

std::vector<UsersDashboard::Part> UsersDashboard::parts(''')
open('QuarnCore/storage/UsersDashboard.cpp','w').write(s)
# store
sub('QuarnCore/scans/ScanStore.h',
('''    std::function<KernelExtensionService(const FileSizeCalculator&)> extensions;
  };
''','''    std::function<KernelExtensionService(const FileSizeCalculator&)> extensions;
    /// For a scan of all users: their home folders, that of the file manager first, and the services of each. Else
    /// empty.
    std::vector<FileURL> homes{};
    std::function<HomeServices(const FileURL& home)> ofHome{};
  };
'''),
('''  /// The services that answer. Those''','''  /// The services whose answers depend on the home folder.
  struct HomeServices {
    AppDiscoveryClient appDiscovery;
    OwnershipService ownership;
    std::function<StorageDashboardService(const FileSizeCalculator&)> dashboard;
    FileManager files;
  };
  /// The services that answer. Those'''))
sub('QuarnCore/scans/ScanStore.cpp',
('#include "QuarnCore/scans/ScanWriter.h"\n','#include "QuarnCore/scans/ScanWriter.h"\n#include "QuarnCore/storage/UsersDashboard.h"\n'),
('''        onProgress_(onProgress),
        cancellation_(cancellation) {}''','''        onProgress_(onProgress),
        cancellation_(cancellation),
        homes_(services.homes.empty() ? std::vector{files.homeDirectory()} : services.homes, files) {}'''),
('''    countedRoots_ = dashboard.calculatePartitionedRoots(report, cancellation_, folders_.get());
''','''    countedRoots_ = isOfAllUsers()
                        ? usersDashboard().calculatePartitionedRoots(nullptr, report, cancellation_, folders_.get())
                        : dashboard.calculatePartitionedRoots(report, cancellation_, folders_.get());
'''),
('''  void gatherRoots() {
    const StorageDashboardService dashboard = services_.dashboard(sizes_);
    for (const StorageCategoryID category : allCases<StorageCategoryID>()) {
      if (category == StorageCategoryID::free) continue;
      for (const auto& [url, sizes, home] : countedRoots_) {
        const SizeInfo size = sizes.at(category);
        if (size == SizeInfo{}) continue;
        content_.roots.push_back(
            {.category = category, .url = url, .size = size, .hint = dashboard.vendorHint(url, category)});
      }
      for (const FileURL& url : dashboard.preciseRoots(category, cancellation_)) {
        if (cancellation_.isCancelled()) return;
        content_.roots.push_back(
            {.category = category, .isListed = true, .url = url, .hint = dashboard.vendorHint(url, category)});
        content_.roots.back().size = ifPossible([&] { return dashboard.preciseSize(url, category, cancellation_); });
      }
    }
  }
''','''  // Roots of the same category stay together, so that a reader finds them in the order of a scan of one home folder.
  void gatherRoots() {
    std::vector<std::vector<ScannedRoot>> byCategory(allCases<StorageCategoryID>().size());
    for (std::size_t home = 0; home < homes_.urls().size() && !cancellation_.isCancelled(); ++home) {
      const StorageDashboardService dashboard = dashboardOf(home, sizes_);
      for (const StorageCategoryID category : allCases<StorageCategoryID>()) {
        if (category == StorageCategoryID::free) continue;
        std::vector<ScannedRoot>& roots = byCategory[static_cast<std::size_t>(category)];
        addCountedRoots(roots, home, category, dashboard);
        addListedRoots(roots, home, category, dashboard);
      }
    }
    for (std::vector<ScannedRoot>& roots : byCategory) {
      content_.roots.insert(content_.roots.end(), std::make_move_iterator(roots.begin()),
                            std::make_move_iterator(roots.end()));
    }
  }

  void addCountedRoots(std::vector<ScannedRoot>& roots, std::size_t home, StorageCategoryID category,
                       const StorageDashboardService& dashboard) const {
    for (const auto& [url, sizes, owner] : countedRoots_) {
      const SizeInfo size = sizes.at(category);
      if (size == SizeInfo{} || owner.value_or(0) != home) continue;
      roots.push_back({.category = category, .url = url, .size = size, .hint = dashboard.vendorHint(url, category)});
      if (owner) roots.back().user = numberOf(*owner);
    }
  }

  void addListedRoots(std::vector<ScannedRoot>& roots, std::size_t home, StorageCategoryID category,
                      const StorageDashboardService& dashboard) const {
    for (const FileURL& url : dashboard.preciseRoots(category, cancellation_)) {
      if (cancellation_.isCancelled()) return;
      if (!isOf(home, url)) continue;
      roots.push_back({.category = category, .isListed = true, .url = url, .hint = dashboard.vendorHint(url, category)});
      if (isOfAllUsers() && ownerOf(url)) roots.back().user = numberOf(home);
      roots.back().size = ifPossible([&] { return dashboard.preciseSize(url, category, cancellation_); });
    }
  }

  // ---- The home folders

  [[nodiscard]] bool isOfAllUsers() const { return !services_.homes.empty(); }
  static std::int64_t numberOf(std::size_t home) { return static_cast<std::int64_t>(home) + 1; }
  [[nodiscard]] StorageDashboardService dashboardOf(std::size_t home, const FileSizeCalculator& sizes) const {
    return home == 0 ? services_.dashboard(sizes) : services_.ofHome(homes_.urls()[home]).dashboard(sizes);
  }
  [[nodiscard]] UsersDashboard usersDashboard() const {
    const FileSizeCalculator sizes = FileSizeCalculator::live(files_);
    return {homes_,
            [this, sizes](const FileURL& home) {
              return home == homes_.urls().front() ? services_.dashboard(sizes) : services_.ofHome(home).dashboard(sizes);
            },
            files_};
  }
  [[nodiscard]] std::optional<std::size_t> ownerOf(const FileURL& url) const {
    return homes_.homeOf(std::string_view(files_.realPath(url).value_or(url.path())));
  }
  /// True if a scan takes the path from the services of this home folder; the first one also has what is in none.
  [[nodiscard]] bool isOf(std::size_t home, const FileURL& url) const {
    return !isOfAllUsers() || ownerOf(url).value_or(0) == home;
  }
  void gatherUsers() {
    if (!isOfAllUsers()) return;
    const UsersDashboard users = usersDashboard();
    for (std::size_t home = 0; home < homes_.locations().size(); ++home) {
      content_.users.push_back(
          {.home = FileURL(homes_.locations()[home], URLKind::directory), .isRead = users.isReadable(home)});
    }
  }
'''),
('''  void gatherPlaces() {
    const StorageDashboardService dashboard = services_.dashboard(sizes_);
    for (const StorageCategoryID category : allCases<StorageCategoryID>()) {
      for (const FileURL& url : dashboard.categoryRoots(category, /*includeDiscovered=*/false, cancellation_)) {
        content_.places.push_back({.category = category, .url = url});
      }
    }
    for (const auto& [category, entries] : dashboard.vendorPaths()) {
      for (const VendorPathHintIndex::Entry& entry : entries) content_.vendorPaths.push_back(entry.hint);
    }
  }
''','''  void gatherPlaces() {
    for (std::size_t home = 0; home < homes_.urls().size() && !cancellation_.isCancelled(); ++home) {
      const StorageDashboardService dashboard = dashboardOf(home, sizes_);
      for (const StorageCategoryID category : allCases<StorageCategoryID>()) {
        for (const FileURL& url : dashboard.categoryRoots(category, /*includeDiscovered=*/false, cancellation_)) {
          if (isOf(home, url)) content_.places.push_back({.category = category, .url = url});
        }
      }
      for (const auto& [category, entries] : dashboard.vendorPaths()) {
        for (const VendorPathHintIndex::Entry& entry : entries) {
          if (isOf(home, entry.url)) content_.vendorPaths.push_back(entry.hint);
        }
      }
    }
  }
'''),
('''    inspection.inspectAll(
        apps.discoverApps(), ScanStore::kInspection,''','''    inspection.inspectAll(
        installedApps(apps), ScanStore::kInspection,'''),
('''  void gatherOwnership() {
    std::vector<AppEntity> apps;
    for (const ScannedApp& app : content_.apps) apps.push_back(app.inspection.app);
    const OwnershipMap map = services_.ownership.map(apps, OwnershipService::kEverything, nullptr, cancellation_);
    const ReceiptSnapshot receipts = services_.receiptScanner.snapshot();
    content_.entries.reserve(map.size());
    for (std::size_t i = 0; i < map.size() && !cancellation_.isCancelled(); ++i) {
      content_.entries.push_back(map.ownership(i));
      for (std::string& package : receipts.packageIDs(content_.entries.back().url.path())) {
        content_.packages.push_back({.entry = i, .identifier = std::move(package)});
      }
    }
    content_.leftovers = findLeftovers(map, {.computeSizes = true, .includeSystem = true}, files_, sizes_,
                                       cancellation_, recordedChanges(folders_, files_));
''','''  // An app in the home folder of one user may have left files where all users find them.
  [[nodiscard]] std::vector<AppEntity> installedApps(const AppsService& service) const {
    std::vector<AppEntity> apps = service.discoverApps();
    std::unordered_set<std::string> known;
    for (const AppEntity& app : apps) known.insert(app.bundleURL.path());
    for (std::size_t home = 1; home < homes_.urls().size() && !cancellation_.isCancelled(); ++home) {
      for (AppEntity& app : services_.ofHome(homes_.urls()[home]).appDiscovery.discoverApplications()) {
        if (known.insert(app.bundleURL.path()).second) apps.push_back(std::move(app));
      }
    }
    return apps;
  }

  void gatherOwnership() {
    std::vector<AppEntity> apps;
    for (const ScannedApp& app : content_.apps) apps.push_back(app.inspection.app);
    const ReceiptSnapshot receipts = services_.receiptScanner.snapshot();
    addOwnership(services_.ownership.map(apps, OwnershipService::kEverything, nullptr, cancellation_), receipts, files_,
                 /*includeSystem=*/true);
    OwnershipService::Options onlyHome = OwnershipService::kEverything;
    onlyHome.includeSystem = false;
    for (std::size_t home = 1; home < homes_.urls().size() && !cancellation_.isCancelled(); ++home) {
      const ScanStore::HomeServices services = services_.ofHome(homes_.urls()[home]);
      addOwnership(services.ownership.map(apps, onlyHome, nullptr, cancellation_), receipts,
                   services.files.cancelledBy(cancellation_), /*includeSystem=*/false);
    }
  }

  void addOwnership(const OwnershipMap& map, const ReceiptSnapshot& receipts, const FileManager& files,
                    bool includeSystem) {
    content_.entries.reserve(content_.entries.size() + map.size());
    for (std::size_t i = 0; i < map.size() && !cancellation_.isCancelled(); ++i) {
      content_.entries.push_back(map.ownership(i));
      for (std::string& package : receipts.packageIDs(content_.entries.back().url.path())) {
        content_.packages.push_back({.entry = content_.entries.size() - 1, .identifier = std::move(package)});
      }
    }
    addLeftovers(content_.leftovers,
                 findLeftovers(map, {.computeSizes = true, .includeSystem = includeSystem}, files, sizes_,
                               cancellation_, recordedChanges(folders_, files)));
'''),
('''    run(ScanStep::folders, &Gathering::gatherFolders);
''','''    run(ScanStep::folders, &Gathering::gatherFolders);
    run(ScanStep::storage, &Gathering::gatherUsers);
'''),
('''  const Cancellation& cancellation_;
  std::shared_ptr''','''  const Cancellation& cancellation_;
  const HomeFolders homes_;
  std::shared_ptr'''),
('#include <filesystem>\n','#include <filesystem>\n#include <iterator>\n'),
('#include <memory>\n','#include <memory>\n#include <unordered_set>\n'))
sub('quarn/services/Services.h',
('''  [[nodiscard]] ScanStore scanStore() const;''','''  /// With several home folders, that of `files` first, a scan is one of all users.
  [[nodiscard]] ScanStore scanStore(const std::vector<FileURL>& homes = {}) const;'''),
('''  [[nodiscard]] UsersDashboard usersDashboard(''','''  /// The services for scans of another home folder.
  [[nodiscard]] ScanStore::HomeServices servicesOf(const FileURL& home) const;
  [[nodiscard]] UsersDashboard usersDashboard('''))
sub('quarn/services/Services.cpp',
('''    const FileManager ofHome = files.withHome(home);
    return StorageDashboardService(volumeInfoClient, fileSizeCalculator, signatureRegistry(), volumeLocationChecker,
                                   VendorPathHintIndex(vendorProfiles(), home, ofHome),
                                   QuarantineManager::live(ofHome), ofHome);
''','''    return servicesOf(home).dashboard(fileSizeCalculator);
'''),
('''UsersDashboard Services::usersDashboard(''','''ScanStore::HomeServices Services::servicesOf(const FileURL& home) const {
  const FileManager ofHome = files.withHome(home);
  return {.appDiscovery = AppDiscoveryClient::live(ofHome),
          .ownership = {vendorProfiles(), entitlementsReader, LaunchdScanner::snapshot(ofHome), receiptScanner, ofHome},
          .dashboard =
              [this, ofHome](const FileSizeCalculator& sizes) {
                return StorageDashboardService(volumeInfoClient, sizes, signatureRegistry(), volumeLocationChecker,
                                               VendorPathHintIndex(vendorProfiles(), ofHome.homeDirectory(), ofHome),
                                               QuarantineManager::live(ofHome), ofHome);
              },
          .files = ofHome};
}

UsersDashboard Services::usersDashboard('''),
('ScanStore Services::scanStore() const {','ScanStore Services::scanStore(const std::vector<FileURL>& homes) const {'),
('''KernelExtensionService::live(files, sizes); }},
      files};''','''KernelExtensionService::live(files, sizes); },
       .homes = homes,
       .ofHome = [this](const FileURL& home) { return servicesOf(home); }},
      files};'''))
sub('quarn/commands/ScanCommand.cpp',
('#include "quarn/commands/HostOutput.h"\n','#include "quarn/commands/Homes.h"\n#include "quarn/commands/HostOutput.h"\n'),
('context.services().scanStore().write(','context.services().scanStore(wantsAllUsers(context) ? homesOf(context) : std::vector<FileURL>()).write('),
('''  refuseWithScan(context, "--output", "FILE is a scan already");
''','''  refuseWithScan(context, "--output", "FILE is a scan already");
  refuseWithScan(context, "--all-users", kOfAllUsersOrNot);
'''),
('''constexpr std::array kScanOptions{
''','''constexpr std::array kScanOptions{
    OptionRow{.name = kAllUsersOption.name,
              .help = "Scan the home folders of all users of the volume",
              .excludes = kAllUsersOption.excludes},
'''),
('''    ExampleRow{.line = "quarn scan --export tables"''','''    ExampleRow{.line = "quarn scan --all-users -o everybody.quarn", .meaning = "a scan of all home folders"},
    ExampleRow{.line = "quarn scan --export tables"'''))
sub('quarn/commands/Homes.h',
('''/// True with --all-users.
bool wantsAllUsers(const CommandContext& context);
''','''/// Why --scan excludes --all-users.
inline constexpr std::string_view kOfAllUsersOrNot = "a scan knows whether it is of all users";

/// True with --all-users.
bool wantsAllUsers(const CommandContext& context);
/// True if the answer names users: with --all-users, and from a scan of all users.
bool showsUsers(CommandContext& context);
/// The home folders of the users of a scan.
HomeFolders homesOf(const Scan& scan);
'''),
('#include <string>\n','#include <string>\n#include <string_view>\n'))
sub('quarn/commands/Homes.cpp',
('''std::vector<FileURL> homesOf(CommandContext''','''bool showsUsers(CommandContext& context) {
  return wantsAllUsers(context) || (context.scan() != nullptr && !context.scan()->users().empty());
}

HomeFolders homesOf(const Scan& scan) {
  std::vector<FileURL> homes;
  for (const ScannedUser& user : scan.users()) homes.push_back(user.home);
  return HomeFolders(homes);
}

std::vector<FileURL> homesOf(CommandContext'''))
sub('quarn/commands/CommandContext.cpp',
('''  return pathText(url, arguments_.has("--all-users") ? FileURL("/") : home());
''','''  const bool isOfAllUsers = arguments_.has("--all-users") || (scan() != nullptr && !scan()->users().empty());
  return pathText(url, isOfAllUsers ? FileURL("/") : home());
'''))
sub('quarn/commands/CommandContext.h',('with --all-users as it is.','in an answer about all users as it is.'))
sub('quarn/commands/UserTable.h',
('''/// The users as a table;''','''/// What the users of a scan of all users have, and what no user has; empty for other scans.
UserParts partsOf(const Scan& scan);
/// The users as a table;'''))
sub('quarn/commands/UserTable.cpp',
('''std::string usersText(''','''UserParts partsOf(const Scan& scan) {
  UserParts parts;
  if (scan.users().empty()) return parts;
  for (const ScannedUser& user : scan.users()) parts.push_back({.home = user.home, .isRead = user.isRead});
  parts.emplace_back();
  for (UsersDashboard::Part& part : parts) {
    for (const StorageCategory& category : scan.categories()) part.sizes[category.id];
  }
  for (const ScannedRoot& root : scan.roots()) {
    const std::size_t part = root.user ? static_cast<std::size_t>(*root.user) - 1 : scan.users().size();
    if (!root.isListed && root.size) parts[part].sizes[root.category] += *root.size;
  }
  UsersDashboard::sort(parts);
  return parts;
}

std::string usersText('''))
sub('quarn/commands/StorageCommand.cpp',
('''  for (const StorageCategory& category : scan.categories()) overview.sizes[category.id] = category.size;
''','''  for (const StorageCategory& category : scan.categories()) overview.sizes[category.id] = category.size;
  overview.users = partsOf(scan);
'''),
('''    rows.push_back({.url = root.url, .size = root.size, .hint = root.hint});
''','''    rows.push_back({.url = root.url, .size = root.size, .hint = root.hint});
    if (root.user) rows.back().user = userOf(scan.users()[static_cast<std::size_t>(*root.user) - 1].home);
'''),
('''  if (wantsAllUsers(context)) columns.insert''','''  if (showsUsers(context)) columns.insert'''),
('''    if (wantsAllUsers(context)) cells.insert''','''    if (showsUsers(context)) cells.insert'''),
('''    if (wantsAllUsers(context)) list.back()''','''    if (showsUsers(context)) list.back()'''),
('"a scan knows whether it is of all users"','kOfAllUsersOrNot'))
sub('quarn/commands/FolderCommands.cpp',
('"a scan knows whether it is of all users"','kOfAllUsersOrNot'),
('''  if (folders.empty()) folders.push_back(scan.facts().home);
  return folders;''','''  if (!folders.empty()) return folders;
  return scan.users().empty() ? std::vector{scan.facts().home} : homesOf(scan).outermost();'''),
('''// With --all-users, the user of each item.''','''// In an answer about all users, the user of each item.'''),
('''  if (!wantsAllUsers(context)) return users;
  const HomeFolders homes(homesOf(context), context.services().files);
''','''  if (!showsUsers(context)) return users;
  const Scan* scan = context.scan();
  const HomeFolders homes = scan != nullptr ? homesOf(*scan) : HomeFolders(homesOf(context), context.services().files);
'''))
sub('quarn/commands/ScanOption.cpp',
('''  const FileURL trash = scan.facts().home.appending(".Trash");
''','''  std::unordered_set<std::string> trashes{scan.facts().home.appending(".Trash").path()};
  for (const ScannedUser& user : scan.users()) trashes.insert(user.home.appending(".Trash").path());
'''),
('root.url != trash &&','!trashes.contains(root.url.path()) &&'),
('#include "quarn/commands/ScanOption.h"\n','#include "quarn/commands/ScanOption.h"\n\n#include <unordered_set>\n'))
sub('quarn/commands/ScannedReport.cpp',
('''  report.leftovers = scan.leftovers();
''','''  report.leftovers = scan.leftovers();
  report.users = partsOf(scan);
'''),
('.home = facts.home, .madeAt','.home = report.users.empty() ? facts.home : FileURL("/"), .madeAt'),
('#include "quarn/commands/ScanOption.h"\n','#include "quarn/commands/ScanOption.h"\n#include "quarn/commands/UserTable.h"\n'))
sub('quarn/commands/ReportCommand.cpp',
('''    throw UsageError("--all-users cannot be combined with --scan: a scan knows whether it is of all users");
''','''    throw UsageError("--all-users cannot be combined with --scan: " + std::string(kOfAllUsersOrNot));
'''))
sub('tests/QuarnCore/scans/HostileScanTests.cpp',('PRAGMA user_version=2','PRAGMA user_version=3'))
