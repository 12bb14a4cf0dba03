#include <gmock/gmock.h>

#include "QuarnCore/vendors/VendorProfile.h"

namespace quarn::vendor_matching_tests {
namespace {

AppEntity app(std::string name, std::optional<std::string> bundleID, const std::string& bundle = "Any.app") {
  return {.name = std::move(name),
          .bundleIdentifier = std::move(bundleID),
          .bundleURL = FileURL("/Applications/" + bundle)};
}

VendorProfile::ArtifactDefinition appBundles(std::vector<std::string> paths) {
  return {.kind = ArtifactKind::appBundle, .paths = std::move(paths)};
}

TEST(VendorMatching, AProfileWithoutRulesMatchesNothing) {
  EXPECT_FALSE(VendorProfile{}.matches(app("Example", "com.example.app")));
  EXPECT_FALSE(VendorProfile{}.matches(app("", std::nullopt)));
}

TEST(VendorMatching, AnExactIdentifierMatchesInAnyLetterCase) {
  const VendorProfile profile{.match = {.bundleIDs = {"net.other", "com.example.app"}}};
  EXPECT_TRUE(profile.matches(app("X", "com.example.app")));
  EXPECT_TRUE(profile.matches(app("X", "COM.Example.App")));
  EXPECT_FALSE(profile.matches(app("X", "com.example.app2")));
  EXPECT_FALSE(profile.matches(app("X", "com.example")));
  const VendorProfile upper{.match = {.bundleIDs = {"COM.EXAMPLE.APP"}}};
  EXPECT_TRUE(upper.matches(app("X", "com.example.app")));
}

TEST(VendorMatching, AnIdentifierThatBeginsWithAPrefixMatchesInAnyLetterCase) {
  const VendorProfile profile{.match = {.bundleIDPrefixes = {"org.x", "Com.Example."}}};
  EXPECT_TRUE(profile.matches(app("X", "com.example.app")));
  EXPECT_TRUE(profile.matches(app("X", "COM.EXAMPLE.")));
  EXPECT_TRUE(profile.matches(app("X", "org.xylophone"))) << "a prefix need not end at a dot";
  EXPECT_FALSE(profile.matches(app("X", "com.example")));
  EXPECT_FALSE(profile.matches(app("X", "net.com.example.app")));
}

TEST(VendorMatching, AnEmptyPrefixMatchesNothing) {
  const VendorProfile profile{.match = {.bundleIDPrefixes = {""}}};
  EXPECT_FALSE(profile.matches(app("X", "com.example.app")));
  EXPECT_FALSE(profile.matches(app("X", std::nullopt)));
  const VendorProfile another{.match = {.bundleIDPrefixes = {"", "com.example"}}};
  EXPECT_TRUE(another.matches(app("X", "com.example.app"))) << "the others still count";
}

TEST(VendorMatching, NamesAreComparedByCanonicalEquivalence) {
  const std::string composedName = "\u00DCber Studio";     // Über
  const std::string decomposedName = "U\u0308ber Studio";  // U and a combining diaeresis
  for (const std::string& fragment : {std::string("\u00FCber"), std::string("u\u0308ber")}) {
    const VendorProfile profile{.match = {.nameContains = {fragment}}};
    EXPECT_TRUE(profile.matches(app(composedName, std::nullopt)));
    EXPECT_TRUE(profile.matches(app(decomposedName, std::nullopt)));
    EXPECT_FALSE(profile.matches(app("Uber Studio", std::nullopt)));
  }
  for (const std::string& fragment : {std::string("cafe"), std::string("caf\u00E9")}) {
    const VendorProfile profile{.match = {.nameContains = {fragment}}};
    EXPECT_EQ(profile.matches(app("My Cafe\u0301", std::nullopt)), fragment != "cafe") << fragment;
    EXPECT_EQ(profile.matches(app("My Caf\u00E9", std::nullopt)), fragment != "cafe") << fragment;
  }
}

TEST(VendorMatching, IdentifiersAndBundleNamesAreComparedByCanonicalEquivalence) {
  const VendorProfile byID{.match = {.bundleIDs = {"com.\u00FCber.app"}}};
  EXPECT_TRUE(byID.matches(app("X", "com.U\u0308ber.app")));
  const VendorProfile byPrefix{.match = {.bundleIDPrefixes = {"com.u\u0308ber."}}};
  EXPECT_TRUE(byPrefix.matches(app("X", "com.\u00DCber.app")));
  const VendorProfile byBundle{.match = {.nameContains = {"x"}},
                               .artifacts = {appBundles({"/Applications/\u00DCber*.app"})}};
  EXPECT_TRUE(byBundle.matches(app("X", std::nullopt, "U\u0308ber Studio.app")));
  EXPECT_FALSE(byBundle.matches(app("X", std::nullopt, "Uber Studio.app")));
}

TEST(VendorMatching, AnAppWithoutIdentifierMatchesByName) {
  const VendorProfile profile{
      .match = {.bundleIDs = {"com.example.app"}, .bundleIDPrefixes = {"com."}, .nameContains = {"example"}}};
  EXPECT_FALSE(profile.matches(app("Other", std::nullopt)));
  EXPECT_TRUE(profile.matches(app("Example", std::nullopt)));
}

TEST(VendorMatching, AnAppWithoutIdentifierEqualsAnEmptyOne) {
  const VendorProfile profile{.match = {.bundleIDs = {""}}};
  EXPECT_TRUE(profile.matches(app("X", std::nullopt)));
  EXPECT_FALSE(profile.matches(app("X", "com.example.app")));
}

TEST(VendorMatching, AFragmentMayBeAnywhereInTheNameInAnyLetterCase) {
  const VendorProfile profile{.match = {.nameContains = {"zzz", "Exam"}}};
  EXPECT_TRUE(profile.matches(app("My EXAMPLE", "net.other")));
  EXPECT_TRUE(profile.matches(app("exam", "net.other")));
  EXPECT_FALSE(profile.matches(app("Ex am", "net.other")));
}

TEST(VendorMatching, LowerCasingIsNotLimitedToLatinLetters) {
  EXPECT_TRUE((VendorProfile{.match = {.nameContains = {"ΩΔ"}}}).matches(app("ωδείο", "x")));
  EXPECT_FALSE((VendorProfile{.match = {.nameContains = {"cafe"}}}).matches(app("Café", "x"))) << "nothing is folded";
}

TEST(VendorMatching, AnEmptyFragmentMatchesNothing) {
  EXPECT_FALSE((VendorProfile{.match = {.nameContains = {""}}}).matches(app("Example", "x")));
  EXPECT_TRUE((VendorProfile{.match = {.nameContains = {"", "example"}}}).matches(app("Example", "x")));
}

TEST(VendorMatching, ANameHitNeedsTheAppsBundleToBeOneOfTheProfiles) {
  const VendorProfile profile{.match = {.nameContains = {"example"}},
                              .artifacts = {appBundles({"/Applications/Example*.app"})}};
  EXPECT_TRUE(profile.matches(app("Example Studio", "x", "Example Studio.app")));
  EXPECT_TRUE(profile.matches(app("Example", "x", "EXAMPLE.APP"))) << "letter case is ignored on both sides";
  EXPECT_FALSE(profile.matches(app("Example Helper Pro", "x", "HelperPro.app")));
  EXPECT_FALSE(profile.matches(app("Studio", "x", "Example Studio.app"))) << "the bundle alone is no name hit";
}

TEST(VendorMatching, ABundleNameWithoutAStarMustBeEqual) {
  const VendorProfile profile{.match = {.nameContains = {"example"}},
                              .artifacts = {appBundles({"/Applications/Tools/Example.app"})}};
  EXPECT_TRUE(profile.matches(app("Example", "x", "Example.app")));
  EXPECT_FALSE(profile.matches(app("Example 2", "x", "Example 2.app")));
}

TEST(VendorMatching, EveryAppBundleOfEveryDefinitionConfirms) {
  const VendorProfile profile{.match = {.nameContains = {"example"}},
                              .artifacts = {appBundles({"/Applications/One.app"}),
                                            {.kind = ArtifactKind::cache, .paths = {"~/Library/Caches/Cache.app"}},
                                            appBundles({"/Applications/Two.app", "~/Applications/Three/"})}};
  EXPECT_TRUE(profile.matches(app("Example", "x", "One.app")));
  EXPECT_TRUE(profile.matches(app("Example", "x", "Two.app")));
  EXPECT_TRUE(profile.matches(app("Example", "x", "Three")));
  EXPECT_FALSE(profile.matches(app("Example", "x", "Cache.app"))) << "only app bundles confirm";
}

TEST(VendorMatching, PathsOfAppBundlesAreTrimmedAndEmptyOnesIgnored) {
  const VendorProfile profile{
      .match = {.nameContains = {"example"}},
      .artifacts = {appBundles({"", " \n\t", "/", " //\u00A0", "\n/Applications//Example.app// \u2003"})}};
  EXPECT_TRUE(profile.matches(app("Example", "x", "Example.app")));
  EXPECT_FALSE(profile.matches(app("Example", "x", "Other.app")));
}

TEST(VendorMatching, AFragmentSufficesWhenNoAppBundleIsNamed) {
  const VendorProfile without{.match = {.nameContains = {"example"}}, .artifacts = {{.kind = ArtifactKind::cache}}};
  EXPECT_TRUE(without.matches(app("Example", "x", "Other.app")));
  const VendorProfile empty{.match = {.nameContains = {"example"}},
                            .artifacts = {appBundles({}), appBundles({" ", "/"})}};
  EXPECT_TRUE(empty.matches(app("Example", "x", "Other.app"))) << "the list of bundle names is empty";
}

TEST(VendorMatching, AnIdentifierHitNeedsNoConfirmation) {
  const VendorProfile profile{.match = {.bundleIDs = {"com.example.app"}, .bundleIDPrefixes = {"org.example."}},
                              .artifacts = {appBundles({"/Applications/Example.app"})}};
  EXPECT_TRUE(profile.matches(app("Renamed", "com.example.app", "Renamed.app")));
  EXPECT_TRUE(profile.matches(app("Renamed", "org.example.tool", "Renamed.app")));
}

TEST(VendorMatching, AFragmentIsTriedIfTheIdentifierRulesDoNotMatch) {
  const VendorProfile profile{
      .match = {.bundleIDs = {"com.example.app"}, .bundleIDPrefixes = {"org.example."}, .nameContains = {"example"}}};
  EXPECT_TRUE(profile.matches(app("Example", "net.other")));
  EXPECT_FALSE(profile.matches(app("Other", "net.other")));
}

}  // namespace
}  // namespace quarn::vendor_matching_tests
