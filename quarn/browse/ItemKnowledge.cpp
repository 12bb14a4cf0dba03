#include "quarn/browse/ItemKnowledge.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

#include "quarn/terminal/OwnerText.h"

namespace quarn {
namespace {

struct RemovalMeaning {
  ArtifactDataClass dataClass;
  std::string_view sentence;
};
constexpr std::array kRemovalMeanings{
    RemovalMeaning{ArtifactDataClass::app, "removes a part of an app; \"quarn plan\" lists the other parts"},
    RemovalMeaning{ArtifactDataClass::rebuildable, "the app recreates it, which may take time"},
    RemovalMeaning{ArtifactDataClass::syncRestorable, "it can be downloaded again, if it was synchronised"},
    RemovalMeaning{ArtifactDataClass::configuration, "the app loses its settings"},
    RemovalMeaning{ArtifactDataClass::userData, "the user's own data is lost"},
    RemovalMeaning{ArtifactDataClass::shared, "other apps lose it too"},
    RemovalMeaning{ArtifactDataClass::unknown, "not known; look at it before you remove it"},
};

std::string meaningOfRemoval(const KnownItem& known) {
  if (known.item.ownership.status == OwnershipStatus::system) return "macOS needs it";
  const auto row = std::find_if(kRemovalMeanings.begin(), kRemovalMeanings.end(),
                                [&](const RemovalMeaning& meaning) { return meaning.dataClass == known.dataClass; });
  std::string text(row->sentence);
  if (known.item.ownership.status == OwnershipStatus::orphaned) text += "; the app is not installed";
  return text;
}

void takeVendor(KnownItem& known) {
  if (!known.item.vendor) return;
  const VendorPathHint& vendor = *known.item.vendor;
  known.title = vendor.artifactTitle;
  known.explanation = vendor.explanation;
  if (known.risk) return;
  known.risk = vendor.riskLevel;
  known.dataClass = vendor.artifactDataClass;
}

void takeOwnership(KnownItem& known) {
  if (known.item.ownership.status == OwnershipStatus::unknown) return;
  known.risk = known.item.ownership.riskLevel;
  known.dataClass = known.item.ownership.dataClass;
}

/// Finds records by paths. Built once, then immutable; the indices point into the tables.
class ScanKnowledge {
 public:
  explicit ScanKnowledge(ScannedKnowledge tables) : tables_(std::move(tables)) {
    for (std::size_t i = 0; i < tables_.entries.size(); ++i) entries_.try_emplace(tables_.entries[i].url.path(), i);
    for (const ScannedRoot& root : tables_.roots) {
      if (root.isListed) roots_.try_emplace(root.url.path(), &root);
    }
    for (const ScannedApp& app : tables_.apps) {
      bundles_.try_emplace(app.inspection.app.bundleURL.path(), &app);
      for (const Artifact& artifact : app.inspection.artifacts) {
        for (const FileURL& url : artifact.urls) artifacts_.try_emplace(url.path(), &artifact);
      }
    }
  }

  ScanKnowledge(const ScanKnowledge&) = delete;
  ScanKnowledge& operator=(const ScanKnowledge&) = delete;

  [[nodiscard]] KnownItem of(const FileURL& url) const {
    KnownItem known;
    const auto* entry = around(entries_, url);
    if (entry != nullptr) known.item.ownership = tables_.entries[*entry];
    if (const auto* app = around(bundles_, url)) known.item.ownership = insideApp((*app)->inspection.app);
    known.item.ownership.url = url;
    takeOwnership(known);
    if (const auto* root = around(roots_, url)) {
      known.item.category = (*root)->category;
      if ((*root)->hint) known.item.vendor = (*root)->hint;
    }
    if (const auto* artifact = around(artifacts_, url)) takeArtifact(**artifact, known);
    takeVendor(known);
    return known;
  }

 private:
  // Nothing around a home folder decides about what is in it.
  template <class Value>
  const Value* around(const std::unordered_map<std::string, Value>& records, const FileURL& url) const {
    std::string path = url.path();
    const std::optional<std::size_t> home = tables_.homes.homeOf(url);
    const std::string last = home ? tables_.homes.locations()[*home] : "/";
    while (true) {
      const auto found = records.find(path);
      if (found != records.end()) return &found->second;
      if (path.size() <= 1 || path == last) return nullptr;
      path.resize(std::max<std::size_t>(path.rfind('/'), 1));
    }
  }

  static Ownership insideApp(const AppEntity& app) {
    const EvidenceRule& rule = evidenceRule(EvidenceKind::inside);
    return {.status = OwnershipStatus::owned,
            .owners = {{.appID = app.id,
                        .appName = app.name,
                        .bundleIdentifier = app.bundleIdentifier,
                        .bundleURL = app.bundleURL,
                        .evidence = EvidenceKind::inside,
                        .confidence = rule.confidence}},
            .evidence = evidenceSentence(EvidenceKind::inside),
            .confidence = rule.confidence,
            .kind = ArtifactKind::appBundle,
            .dataClass = ArtifactDataClass::app};
  }

  static void takeArtifact(const Artifact& artifact, KnownItem& known) {
    known.title = artifact.title;
    known.explanation = artifact.explanation;
    known.risk = artifact.riskLevel;
    known.dataClass = artifact.dataClass;
  }

  ScannedKnowledge tables_;
  std::unordered_map<std::string, std::size_t> entries_;
  std::unordered_map<std::string, const ScannedRoot*> roots_;
  std::unordered_map<std::string, const ScannedApp*> bundles_;
  std::unordered_map<std::string, const Artifact*> artifacts_;
};

}  // namespace

ItemKnowledge knowledgeOfVolume(std::shared_ptr<const ItemOwners> owners) {
  return [owners = std::move(owners)](const FileURL& url) {
    KnownItem known{.item = owners->of(url)};
    known.item.category = owners->categoryAround(url);
    takeOwnership(known);
    takeVendor(known);
    return known;
  };
}

ScannedKnowledge::ScannedKnowledge(const Scan& scan)
    : homes(scan.homes()), entries(scan.entries()), apps(scan.apps(/*withInspections=*/true)), roots(scan.roots()) {}

ItemKnowledge knowledgeOfScan(ScannedKnowledge tables) {
  auto knowledge = std::make_shared<const ScanKnowledge>(std::move(tables));
  return [knowledge = std::move(knowledge)](const FileURL& url) { return knowledge->of(url); };
}

KnownColumns columnsOf(const KnownItem& known) {
  KnownColumns columns{.risk = known.risk};
  if (known.item.ownership.status != OwnershipStatus::unknown) {
    columns.owner = ownerText(known.item.ownership);
  } else if (known.item.vendor) {
    columns.owner = known.item.vendor->vendorName;
  }
  if (known.item.category) columns.category = rawValue(*known.item.category);
  return columns;
}

std::vector<DetailLine> detailsOf(const KnownItem& known) {
  const Ownership& ownership = known.item.ownership;
  std::vector<DetailLine> lines{{.name = "owner", .text = ownerText(ownership)}};
  if (!ownership.evidence.empty()) {
    lines.push_back({"because", fmt::format("{} ({:.2f})", ownership.evidence, ownership.confidence)});
  }
  lines.push_back({"removal", meaningOfRemoval(known)});
  if (known.risk) lines.push_back({"risk", std::string(rawValue(*known.risk))});
  for (const OwnershipClaim& rival : ownership.rivals) {
    lines.push_back(
        {"rival", fmt::format("{} ({:.2f}): {}", rival.appName, rival.confidence, evidenceSentence(rival.evidence))});
  }
  for (const std::string& package : known.item.packages) lines.push_back({"package", package});
  if (known.item.vendor) lines.push_back({"vendor", known.item.vendor->vendorName});
  if (!known.title.empty()) lines.push_back({"what", known.title});
  if (known.explanation) lines.push_back({"why", *known.explanation});
  if (known.item.category) lines.push_back({"category", std::string(rawValue(*known.item.category))});
  return lines;
}

}  // namespace quarn
