#include <gtest/gtest.h>

#include "QuarnModels/Artifact.h"
#include "QuarnModels/RawValue.h"
#include "QuarnModels/RemovalPlan.h"
#include "QuarnModels/Storage.h"

namespace quarn::raw_value_tests {
namespace {

template <class Enumeration>
void expectCases(const std::vector<std::pair<Enumeration, std::string>>& cases) {
  ASSERT_EQ(allCases<Enumeration>().size(), cases.size());
  for (std::size_t i = 0; i < cases.size(); ++i) {
    const auto& [value, text] = cases[i];
    EXPECT_EQ(static_cast<std::size_t>(value), i) << text;
    EXPECT_EQ(allCases<Enumeration>()[i], value) << text;
    EXPECT_EQ(rawValue(value), text);
    EXPECT_EQ(fromRawValue<Enumeration>(text), value) << text;
    EXPECT_EQ(fromRawValue<Enumeration>(text + " "), std::nullopt) << text;
    EXPECT_EQ(fromRawValue<Enumeration>(text.substr(1)), std::nullopt) << text;
    std::string capitalised = text;
    capitalised[0] = static_cast<char>(capitalised[0] - 'a' + 'A');
    EXPECT_EQ(fromRawValue<Enumeration>(capitalised), std::nullopt) << text;
  }
  EXPECT_EQ(fromRawValue<Enumeration>(""), std::nullopt);
  EXPECT_EQ(fromRawValue<Enumeration>("nothing"), std::nullopt);
}

TEST(RawValue, ArtifactKindsHaveTheirNamesInOrder) {
  using enum ArtifactKind;
  expectCases<ArtifactKind>({{appBundle, "appBundle"},
                             {uninstaller, "uninstaller"},
                             {cache, "cache"},
                             {logs, "logs"},
                             {preferences, "preferences"},
                             {applicationSupport, "applicationSupport"},
                             {container, "container"},
                             {groupContainer, "groupContainer"},
                             {savedState, "savedState"},
                             {launchAgent, "launchAgent"},
                             {launchDaemon, "launchDaemon"},
                             {receipt, "receipt"},
                             {kernelExtension, "kernelExtension"},
                             {unknown, "unknown"}});
}

TEST(RawValue, ScopesHaveTheirNamesInOrder) {
  expectCases<ArtifactScope>({{ArtifactScope::user, "user"}, {ArtifactScope::system, "system"}});
}

TEST(RawValue, DataClassesHaveTheirNamesInOrder) {
  using enum ArtifactDataClass;
  expectCases<ArtifactDataClass>({{app, "app"},
                                  {rebuildable, "rebuildable"},
                                  {syncRestorable, "syncRestorable"},
                                  {configuration, "configuration"},
                                  {userData, "userData"},
                                  {shared, "shared"},
                                  {unknown, "unknown"}});
}

TEST(RawValue, RisksHaveTheirNamesInRisingOrder) {
  expectCases<RiskLevel>({{RiskLevel::safe, "safe"}, {RiskLevel::caution, "caution"}, {RiskLevel::danger, "danger"}});
  EXPECT_LT(RiskLevel::safe, RiskLevel::caution);
  EXPECT_LT(RiskLevel::caution, RiskLevel::danger);
}

TEST(RawValue, CleanupModesHaveTheirNamesInOrder) {
  using enum CleanupMode;
  expectCases<CleanupMode>({{cacheOnly, "cacheOnly"},
                            {associatedDataOnly, "associatedDataOnly"},
                            {removeApp, "removeApp"},
                            {aggressive, "aggressive"}});
}

TEST(RawValue, OperationTypesHaveTheirNamesInOrder) {
  using enum RemovalOperationPreview::Type;
  expectCases<RemovalOperationPreview::Type>({{openUninstaller, "openUninstaller"},
                                              {moveToTrash, "moveToTrash"},
                                              {moveToQuarantine, "moveToQuarantine"},
                                              {deletePermanently, "deletePermanently"},
                                              {disableLaunchServices, "disableLaunchServices"},
                                              {quitApp, "quitApp"}});
}

TEST(RawValue, PlanStatusesHaveTheirNamesInOrder) {
  using enum AppRemovalPlanPreview::Status;
  expectCases<AppRemovalPlanPreview::Status>(
      {{draft, "draft"}, {running, "running"}, {finished, "finished"}, {preview, "preview"}});
}

TEST(RawValue, StorageCategoriesHaveTheirNamesInOrder) {
  using enum StorageCategoryID;
  expectCases<StorageCategoryID>({{apps, "apps"},
                                  {documents, "documents"},
                                  {photos, "photos"},
                                  {communication, "communication"},
                                  {games, "games"},
                                  {development, "development"},
                                  {systemData, "systemData"},
                                  {other, "other"},
                                  {free, "free"}});
}

TEST(RawValue, AnEnumerationOfAnArtifactTakesOneByte) {
  EXPECT_EQ(sizeof(Artifact::kind), 1U);
  EXPECT_EQ(sizeof(Artifact::scope), 1U);
  EXPECT_EQ(sizeof(Artifact::dataClass), 1U);
  EXPECT_EQ(sizeof(Artifact::riskLevel), 1U);
  EXPECT_EQ(sizeof(AppRemovalPlanPreview::status), 1U);
}

TEST(RawValue, NamesAreCompileTimeConstants) {
  static_assert(rawValue(ArtifactKind::cache) == "cache");
  static_assert(fromRawValue<RiskLevel>("danger") == RiskLevel::danger);
  static_assert(!fromRawValue<RiskLevel>("Danger"));
}

}  // namespace
}  // namespace quarn::raw_value_tests
