#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <utility>

#include "QuarnBuilders/BomBuilder.h"
#include "QuarnBuilders/MachOBuilder.h"
#include "QuarnBuilders/PlistWriter.h"
#include "QuarnCore/scans/ScanWriter.h"
#include "tests/support/ChangedDatabase.h"

namespace {

using namespace quarn::sample;  // NOLINT(google-build-using-namespace): uses most of it

PlistDictionary job() {
  return {{"Label", "com.example.agent"},
          {"ProgramArguments", PlistArray{"/bin/sh", "-c", "a & b < c"}},
          {"RunAtLoad", true},
          {"StartInterval", -300},
          {"Share", 2.5},
          {"Cookie", PlistData{std::string("\0\1\2", 3)}},
          {"Since", PlistDate{700'000'000}},
          {"\xC3\xA9t\xC3\xA9", PlistDictionary{{"Empty", PlistArray{}}, {"Face", "\xF0\x9F\x98\x80"}}}};
}

PlistDictionary entitlements() {
  return {{"com.apple.security.app-sandbox", true},
          {"com.apple.security.application-groups", PlistArray{"group.com.example", "TEAM123456.shared"}},
          {"limits", PlistDictionary{{"low", -70'000}, {"high", 70'000}}},
          {"text", std::string(200, 'x')}};
}

MachOSigning signing(Processor cpu, EntitlementForms forms) {
  return {.groups = {"group.com.example"}, .cpu = cpu, .forms = forms, .team = "TEAM123456"};
}

BomBuilder bill(BomLayout layout) {
  BomBuilder builder(layout);
  builder.directory("./Applications/X.app/Contents").file("./Applications/X.app/Contents/Info.plist", 300);
  builder.link("./usr/local/bin/x", "/Applications/X.app/Contents/MacOS/X").device("./dev/x");
  return builder;
}

class Seeds {
 public:
  explicit Seeds(std::filesystem::path folder) : folder_(std::move(folder)) {}

  void add(const std::string& target, const std::string& name, const std::string& bytes) const {
    std::filesystem::create_directories(folder_ / target);
    std::ofstream(folder_ / target / name, std::ios::binary) << bytes;
  }

 private:
  std::filesystem::path folder_;
};

void addPropertyLists(const Seeds& seeds) {
  PlistArray numbers;
  for (int i = 0; i < 20; ++i) numbers.emplace_back(i * 1'000);
  seeds.add("property_list", "job_xml", xmlPlist(job()));
  seeds.add("property_list", "job_binary", binaryPlist(job()));
  seeds.add("property_list", "numbers_binary", binaryPlist(numbers));
  seeds.add("property_list", "text_forms",
            "\xEF\xBB\xBF<!-- c --><array><string>a<!-- c --><![CDATA[<b>]]>&#x41;&amp;</string><true/></array>");
}

void addPrograms(const Seeds& seeds) {
  const auto arm = signing(kArm64, EntitlementForms::xml);
  const auto intel = signing(kX86_64, EntitlementForms::der);
  seeds.add("macho", "thin_arm64", signedMachO(arm));
  seeds.add("macho", "thin_i386", signedMachO(signing(kI386, EntitlementForms::der)));
  seeds.add("macho", "thin_powerpc", signedMachO(signing(kPowerPC, EntitlementForms::xmlAndDer)));
  seeds.add("macho", "unsigned", machO(kX86_64));
  seeds.add("macho", "universal", universalMachO({arm, intel}));
  seeds.add("macho", "universal_64", universalMachO({intel, arm}, UniversalForm::offsets64));
  seeds.add("code_signature", "xml", codeSignature(arm));
  seeds.add("code_signature", "der", codeSignature(intel));
  seeds.add("code_signature", "both", codeSignature(signing(kArm64, EntitlementForms::xmlAndDer)));
  seeds.add("code_signature", "empty_xml", codeSignature(signing(kArm64, EntitlementForms::emptyXmlAndDer)));
  seeds.add("entitlements_der", "wrapped", derEntitlements(entitlements()));
  seeds.add("entitlements_der", "bare_set", derEntitlements(entitlements(), DerForm::bareSet));
  seeds.add("entitlements_der", "empty", derEntitlements({}));
}

void addBills(const Seeds& seeds) {
  seeds.add("bill_of_materials", "one_leaf", bill({.padsNodes = false}).bytes());
  seeds.add("bill_of_materials", "many_leaves", bill({.pairsPerNode = 2, .padsNodes = false}).bytes());
  seeds.add("bill_of_materials", "no_links",
            bill({.pairsPerNode = 2, .linksLeaves = false, .padsNodes = false, .tableSlots = 80}).bytes());
  seeds.add("bill_of_materials", "older", bill({.padsNodes = false, .records = BomRecords::older}).bytes());
  seeds.add("bill_of_materials", "paths_only", bill({.padsNodes = false, .records = BomRecords::pathsOnly}).bytes());
}

quarn::ScanContent scanContent() {
  using namespace quarn;  // NOLINT(google-build-using-namespace): uses most of it
  const FileURL bundle("/Applications/Example.app/");
  const Artifact cache{.id = "cache", .urls = {FileURL("/Users/ann/Library/Caches/com.example/")}, .title = "Cache"};
  const Ownership entry{.url = cache.urls.front(),
                        .status = OwnershipStatus::owned,
                        .owners = {{.appID = "com.example", .appName = "Example", .bundleURL = bundle}},
                        .evidence = "named by the identifier"};
  return {.facts = {.programVersion = "1", .locale = "en", .home = FileURL("/Users/ann/"), .volume = {.name = "Mac"}},
          .users = {{.home = FileURL("/Users/ann/"), .location = "/Users/ann"}},
          .categories = {{.id = StorageCategoryID::apps, .size = {.allocatedBytes = 4096, .logicalBytes = 10}}},
          .roots = {{.category = StorageCategoryID::apps, .isListed = true, .url = FileURL("/Applications/")},
                    {.category = StorageCategoryID::other, .url = FileURL("/Users/ann/.config/"), .user = 0}},
          .places = {{.category = StorageCategoryID::apps, .url = FileURL("/Applications/")}},
          .vendorPaths = {{.vendorID = "example", .vendorName = "Example", .path = "/Users/ann/Library/Caches"}},
          .apps = {{.inspection = {.app = {.name = "Example", .bundleURL = bundle}, .artifacts = {cache}}}},
          .entries = {entry},
          .packages = {{.entry = 0, .identifier = "com.example.pkg"}},
          .leftovers = {{.owner = {.name = "Gone"}, .items = {{.url = FileURL("/Users/ann/Library/Logs/Gone")}}}},
          .jobs = {{.label = "job", .programArguments = {"/bin/sh", "-c"}, .url = FileURL("/Library/job.plist")}},
          .receipts = {{.packageIdentifier = "com.example.pkg"}},
          .extensions = {{.name = "Ext", .url = FileURL("/Library/Extensions/Ext.kext/")}},
          .unreadable = {{.path = "/private", .error = 13}}};
}

// With small pages, so that a change meets something.
void addScans(const Seeds& seeds) {
  const std::string file = (std::filesystem::temp_directory_path() / "scan_seed").string();
  for (const bool isFull : {false, true}) {
    quarn::RecordedFolders folders;
    const quarn::FolderObserver::Folder users = folders.enter(0, {.name = "Users"});
    const quarn::FolderObserver::Folder ann = folders.enter(users, {.name = "ann"});
    folders.add(ann, {.sizes = {4096, 10}, .files = 1, .newest = 1'700'000'000});
    folders.keep(ann, {.name = "\xFF.txt", .sizes = {4096, 10}, .modified = 1'700'000'000});
    folders.finish();
    quarn::writeScan(file, isFull ? scanContent() : quarn::ScanContent(), folders, quarn::Cancellation::never());
    quarn::changeDatabase(file, "PRAGMA page_size=512; VACUUM");
    std::ifstream stream(file, std::ios::binary);
    seeds.add("scan", isFull ? "full" : "empty", std::string(std::istreambuf_iterator<char>(stream), {}));
  }
  std::filesystem::remove(file);
}

}  // namespace

/// Writes small files of each format below a folder, as seeds for the fuzz targets.
int main(int count, char** arguments) {
  if (count != 2) {
    std::cerr << "usage: write_fuzz_seeds FOLDER\n";
    return 2;
  }
  const Seeds seeds(arguments[1]);
  addPropertyLists(seeds);
  addPrograms(seeds);
  addBills(seeds);
  addScans(seeds);
  return 0;
}
