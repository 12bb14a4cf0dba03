#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnModels/Artifact.h"

namespace quarn::artifact_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<FileURL> urls(const std::vector<std::string>& paths) {
  std::vector<FileURL> result;
  for (const std::string& path : paths) result.emplace_back(path);
  return result;
}

std::string cacheID(const std::vector<std::string>& paths) {
  return Artifact::makeID(ArtifactKind::cache, ArtifactScope::user, urls(paths));
}

TEST(ArtifactID, TheSameKindScopeAndURLsMakeTheSameID) {
  EXPECT_EQ(cacheID({"/a", "/b"}), cacheID({"/a", "/b"}));
  EXPECT_EQ(cacheID({}), cacheID({}));
}

TEST(ArtifactID, EveryKindAndScopeMakesADifferentID) {
  std::set<std::string> ids;
  for (const ArtifactKind kind : allCases<ArtifactKind>()) {
    for (const ArtifactScope scope : allCases<ArtifactScope>()) ids.insert(Artifact::makeID(kind, scope, urls({"/a"})));
  }
  EXPECT_EQ(ids.size(), 14U * 2U);
}

TEST(ArtifactID, DependsOnTheURLsAndTheirOrder) {
  const std::set<std::string> ids{cacheID({}),
                                  cacheID({"/"}),
                                  cacheID({"/a"}),
                                  cacheID({"/b"}),
                                  cacheID({"/A"}),
                                  cacheID({"/a", "/b"}),
                                  cacheID({"/b", "/a"}),
                                  cacheID({"/a", "/a"}),
                                  cacheID({"/a/b"}),
                                  cacheID({"/a:/b"}),
                                  cacheID({"/a:", "/b"}),
                                  cacheID({"/a%2Fb"}),
                                  cacheID({"/a b"}),
                                  cacheID({"/a%20b"}),
                                  cacheID({"/a\n"}),
                                  cacheID({"/\xFF"}),
                                  cacheID({"/\xFE"}),
                                  cacheID({"/%FF"}),
                                  cacheID({"/a//b"}),
                                  cacheID({"/a/./b"}),
                                  cacheID({"/\xC3\xA9"}),
                                  cacheID({"/e\xCC\x81"})};
  EXPECT_EQ(ids.size(), 22U) << "two different lists made one id";
}

TEST(ArtifactID, DoesNotDependOnTheFolderFlag) {
  const std::vector<FileURL> folders{FileURL("/a/b", URLKind::directory), FileURL("/c///")};
  EXPECT_EQ(Artifact::makeID(ArtifactKind::logs, ArtifactScope::system, folders),
            Artifact::makeID(ArtifactKind::logs, ArtifactScope::system, urls({"/a/b", "/c"})));
}

TEST(ArtifactID, DoesNotDependOnTitleExplanationConfidenceSizeClassAndRisk) {
  Artifact plain{.kind = ArtifactKind::logs, .scope = ArtifactScope::system, .urls = urls({"/a"})};
  Artifact described = plain;
  described.title = "Logs";
  described.explanation = "Logs.";
  described.confidence = 0.5;
  described.size = SizeInfo{1, 2};
  described.dataClass = ArtifactDataClass::shared;
  described.riskLevel = RiskLevel::danger;
  plain.renewID();
  described.renewID();
  EXPECT_EQ(plain.id, described.id);
  EXPECT_EQ(plain.id, Artifact::makeID(ArtifactKind::logs, ArtifactScope::system, urls({"/a"})));
}

TEST(ArtifactID, IsPrintableASCIIForAllNames) {
  for (const char character : cacheID({"/a\x1B[31m\n\t\x7F\xFF\xC3\xA9 :"})) {
    EXPECT_TRUE(character > ' ' && character < 0x7F) << static_cast<int>(character);
  }
}

TEST(Artifact, IsEqualOnlyInAllItsFields) {
  const Artifact artifact{.id = "id",
                          .kind = ArtifactKind::cache,
                          .dataClass = ArtifactDataClass::rebuildable,
                          .scope = ArtifactScope::user,
                          .urls = urls({"/a"}),
                          .size = SizeInfo{1, 2},
                          .riskLevel = RiskLevel::safe,
                          .confidence = 0.5,
                          .title = "Cache",
                          .explanation = "Why"};
  EXPECT_EQ(artifact, Artifact(artifact));
  const std::vector<void (*)(Artifact&)> changes{[](Artifact& other) { other.id = "other"; },
                                                 [](Artifact& other) { other.kind = ArtifactKind::logs; },
                                                 [](Artifact& other) { other.dataClass = ArtifactDataClass::app; },
                                                 [](Artifact& other) { other.scope = ArtifactScope::system; },
                                                 [](Artifact& other) { other.urls.clear(); },
                                                 [](Artifact& other) { other.size.reset(); },
                                                 [](Artifact& other) { other.size->logicalBytes = 3; },
                                                 [](Artifact& other) { other.riskLevel = RiskLevel::danger; },
                                                 [](Artifact& other) { other.confidence = 0.6; },
                                                 [](Artifact& other) { other.title = "cache"; },
                                                 [](Artifact& other) { other.explanation = ""; }};
  for (std::size_t i = 0; i < changes.size(); ++i) {
    Artifact other = artifact;
    changes[i](other);
    EXPECT_NE(artifact, other) << "change " << i;
  }
}

TEST(Artifact, HasItsFieldsInOrder) {
  const Artifact artifact{"id",         ArtifactKind::cache, ArtifactDataClass::app, ArtifactScope::system,
                          urls({"/a"}), SizeInfo{1, 2},      RiskLevel::danger,      0.5,
                          "title",      "explanation"};
  EXPECT_EQ(artifact.urls.front().path(), "/a");
  EXPECT_EQ(artifact.size->allocatedBytes, 1);
  EXPECT_EQ(artifact.size->logicalBytes, 2);
  EXPECT_EQ(artifact.title, "title");
  EXPECT_EQ(artifact.explanation, "explanation");
}

TEST(Artifact, HasNoSizeAndNoExplanationByDefault) {
  EXPECT_EQ(Artifact().size, std::nullopt);
  EXPECT_EQ(Artifact().explanation, std::nullopt);
}

TEST(Artifacts, AreAppendedInOrderToTheEnd) {
  std::vector<Artifact> artifacts{{.id = "1"}};
  append(artifacts, {{.id = "2"}, {.id = "3"}});
  append(artifacts, {});
  std::vector<std::string> ids;
  for (const Artifact& artifact : artifacts) ids.push_back(artifact.id);
  EXPECT_THAT(ids, ElementsAre("1", "2", "3"));
  std::vector<Artifact> none;
  append(none, {});
  EXPECT_THAT(none, IsEmpty());
}

}  // namespace
}  // namespace quarn::artifact_tests
