#include <gtest/gtest.h>

#include "QuarnCore/ownership/NameKeys.h"

namespace quarn::name_keys_tests {
namespace {

TEST(NameKeys, HoldOnlyLettersAndDigits) {
  EXPECT_EQ(nameKey("My App-2.0 (Beta)"), "myapp20beta");
  EXPECT_EQ(nameKey("Éclair ÜBER"), "eclairuber");
  EXPECT_EQ(nameKey("..."), "");
}

TEST(NameKeys, OmitVersionsChannelsAndEditions) {
  for (const char* name :
       {"Notely 3", "notely-updater", "NotelyDesktop", "Notely Beta", "Notely for Mac", "Notely2.1", "notely v2"}) {
    EXPECT_EQ(reducedNameKey(name), "notely") << name;
  }
  EXPECT_EQ(reducedNameKey("Desktop Helper"), "desktop");
  EXPECT_EQ(reducedNameKey("Go 2"), "go");
  EXPECT_EQ(reducedNameKey("R 4"), "r4");
  EXPECT_EQ(unversionedNameKey("My App Helper 3"), "myapphelper");
  EXPECT_EQ(unversionedNameKey("Notely v2"), "notely");
  EXPECT_EQ(unversionedNameKey("Notely V"), "notelyv");
}

TEST(NameKeys, IdentifiersAreDistinguishedFromNames) {
  EXPECT_TRUE(looksLikeIdentifier("com.example"));
  EXPECT_TRUE(looksLikeIdentifier("xyz.example.app"));
  EXPECT_TRUE(looksLikeIdentifier("com.example.my app"));
  for (const char* text :
       {"example", "my.app", "1.2.3", ".com.example", "com..example", "com.example.", "a b.c.d", ""}) {
    EXPECT_FALSE(looksLikeIdentifier(text)) << text;
  }
}

TEST(NameKeys, TheVendorPrecedesTheApp) {
  EXPECT_EQ(vendorOf("com.example.app"), "com.example");
  EXPECT_EQ(vendorOf("uk.co.example.app"), "uk.co.example");
  EXPECT_EQ(vendorOf("com.github.somebody.app"), "com.github.somebody");
  EXPECT_EQ(vendorOf("com.github.app"), "");
  EXPECT_EQ(vendorOf("com.electron.app"), "");
  EXPECT_EQ(vendorOf("example"), "");
  EXPECT_EQ(vendorNameOf("uk.co.example.app"), "example");
}

TEST(NameKeys, TheLastMeaningfulPartNamesTheApp) {
  EXPECT_EQ(lastMeaningfulPart("com.example.Notes.mac"), "Notes");
  EXPECT_EQ(lastMeaningfulPart("com.example.desktop-app"), "example");
  EXPECT_EQ(lastMeaningfulPart("com.app"), "");
}

TEST(NameKeys, DecorationsOfPlacesAreNotPartOfAName) {
  EXPECT_EQ(withoutDecorations("com.example.App.plist"), "com.example.App");
  EXPECT_EQ(withoutDecorations("com.example.App.plist.lockfile"), "com.example.App");
  EXPECT_EQ(withoutDecorations("com.example.App.savedState"), "com.example.App");
  EXPECT_EQ(withoutDecorations("Example_1A2B3C4D-5E6F-7081-92A3-B4C5D6E7F809.plist"), "Example");
  EXPECT_EQ(withoutDecorations("Example-2026-01-02-030405.ips"), "Example");
  EXPECT_EQ(withoutDecorations("Example"), "Example");
  EXPECT_EQ(withoutDecorations("notes.log.txt.old.json"), "notes.log");
}

TEST(NameKeys, LeadingTeamsAndGroupsAreRemovedFromIdentifiers) {
  EXPECT_EQ(withoutIdentifierPrefix("AB12CD34EF.com.example.app"), "com.example.app");
  EXPECT_EQ(withoutIdentifierPrefix("AB12CD34EF.group.com.example.app"), "com.example.app");
  EXPECT_EQ(withoutIdentifierPrefix("group.com.example.app"), "com.example.app");
  EXPECT_EQ(withoutIdentifierPrefix("com.example.app"), "com.example.app");
  EXPECT_EQ(teamPrefixOf("AB12CD34EF.com.example.app"), "AB12CD34EF");
  EXPECT_EQ(teamPrefixOf("ab12cd34ef.com.example.app"), "");
}

}  // namespace
}  // namespace quarn::name_keys_tests
