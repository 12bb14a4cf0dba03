#include <functional>

#include <gmock/gmock.h>

#include "QuarnCore/discovery/KernelExtensionAssociationService.h"
#include "QuarnCore/storage/StorageSignatureRegistry.h"
#include "QuarnCore/storage/VendorPathHintIndex.h"
#include "QuarnCore/vendors/VendorProfileRegistry.h"

namespace quarn::record_hash_tests {
namespace {

using Evidence = KernelExtensionAssociationService::Evidence;
using Association = KernelExtensionAssociationService::Association;

/// Checks that equal records have equal hashes, and that changing any field changes the hash.
template <class Record>
void expectEachFieldToCount(const Record& record, const std::vector<std::function<void(Record&)>>& changes) {
  const std::hash<Record> hash;
  EXPECT_EQ(hash(record), hash(Record(record)));
  for (std::size_t i = 0; i < changes.size(); ++i) {
    Record changed = record;
    changes[i](changed);
    EXPECT_NE(changed, record) << i;
    EXPECT_NE(hash(changed), hash(record)) << "field " << i;
  }
}

TEST(Hashes, OfAVendorProfileAndItsPartsCoverEveryField) {
  expectEachFieldToCount<VendorProfile::Match>(
      {}, {[](auto& match) { match.bundleIDs = {"a"}; }, [](auto& match) { match.bundleIDPrefixes = {"a"}; },
           [](auto& match) { match.nameContains = {"a"}; }});
  expectEachFieldToCount<VendorProfile::ArtifactDefinition>(
      {}, {[](auto& definition) { definition.kind = ArtifactKind::cache; },
           [](auto& definition) { definition.dataClass = ArtifactDataClass::shared; },
           [](auto& definition) { definition.scope = ArtifactScope::system; },
           [](auto& definition) { definition.riskLevel = RiskLevel::danger; },
           [](auto& definition) { definition.confidence = 0.5; }, [](auto& definition) { definition.title = "a"; },
           [](auto& definition) { definition.explanation = ""; }, [](auto& definition) { definition.paths = {""}; }});
  expectEachFieldToCount<VendorProfile::CarveOut>(
      {}, {[](auto& carveOut) { carveOut.title = "a"; }, [](auto& carveOut) { carveOut.paths = {"a"}; },
           [](auto& carveOut) { carveOut.reason = "a"; }});
  expectEachFieldToCount<VendorProfile>(
      {}, {[](auto& profile) { profile.id = "a"; }, [](auto& profile) { profile.displayName = "a"; },
           [](auto& profile) { profile.match.bundleIDs = {"a"}; }, [](auto& profile) { profile.artifacts = {{}}; },
           [](auto& profile) { profile.carveOuts = {{}}; }});
}

TEST(Hashes, OfTheVendorIndexCoverEveryField) {
  using Index = VendorProfileRegistry::Index;
  expectEachFieldToCount<Index::Entry>({},
                                       {[](auto& entry) { entry.id = "a"; }, [](auto& entry) { entry.file = "a"; }});
  expectEachFieldToCount<Index>({},
                                {[](auto& index) { index.version = 1; }, [](auto& index) { index.vendors = {{}}; }});
}

TEST(Hashes, OfASignatureCoverEveryField) {
  using Signature = StorageSignatureRegistry::Signature;
  expectEachFieldToCount<Signature>(
      {}, {[](auto& signature) { signature.category = StorageCategoryID::games; },
           [](auto& signature) { signature.kind = Signature::Kind::markerFile; },
           [](auto& signature) { signature.pattern = "a"; }, [](auto& signature) { signature.reason = ""; }});
}

TEST(Hashes, OfAHintAndItsEntryCoverEveryField) {
  expectEachFieldToCount<VendorPathHint>(
      {}, {[](auto& hint) { hint.vendorID = "a"; }, [](auto& hint) { hint.vendorName = "a"; },
           [](auto& hint) { hint.category = StorageCategoryID::games; },
           [](auto& hint) { hint.artifactKind = ArtifactKind::cache; },
           [](auto& hint) { hint.artifactDataClass = ArtifactDataClass::shared; },
           [](auto& hint) { hint.artifactTitle = "a"; }, [](auto& hint) { hint.explanation = ""; },
           [](auto& hint) { hint.riskLevel = RiskLevel::danger; }, [](auto& hint) { hint.path = "a"; }});
  expectEachFieldToCount<VendorPathHintIndex::Entry>(
      {}, {[](auto& entry) { entry.path = "a"; }, [](auto& entry) { entry.url = FileURL("/a"); },
           [](auto& entry) { entry.hint.vendorID = "a"; }, [](auto& entry) { entry.isDirectory = true; }});
}

TEST(Hashes, OfEvidenceAndAssociationsCoverEveryField) {
  expectEachFieldToCount<Evidence>({}, {[](auto& evidence) { evidence.kind = Evidence::Kind::receipt; },
                                        [](auto& evidence) { evidence.name = "a"; }});
  expectEachFieldToCount<Association>(
      {}, {[](auto& association) { association.appID = "a"; }, [](auto& association) { association.appName = "a"; },
           [](auto& association) { association.evidence.name = "a"; }});
}

TEST(BundleAnchors, NameTheBundleThatTheRegistriesAreLoadedFrom) {
  const ResourceBundle vendors = ResourceBundle::containing<VendorProfileRegistry::BundleAnchor>();
  const ResourceBundle signatures = ResourceBundle::containing<StorageSignatureRegistry::BundleAnchor>();
  EXPECT_EQ(vendors.folder(), ResourceBundle::shipped().folder());
  EXPECT_EQ(signatures.folder(), ResourceBundle::shipped().folder());
}

}  // namespace
}  // namespace quarn::record_hash_tests
