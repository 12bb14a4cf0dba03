#include <gtest/gtest.h>

#include "QuarnPlatform/resources/Localization.h"
#include "QuarnPlatform/resources/ResourceBundle.h"
#include "quarn/terminal/PlainText.h"

namespace quarn::plain_text_tests {
namespace {

TEST(PlainText, NamesNoPartOfTheLibrary) {
  EXPECT_EQ(plainText("Shared by all games.\n\nSource: Layer C (Vendor Inspector)"),
            "Shared by all games.\n\nSource: what is known of this vendor");
  EXPECT_EQ(plainText("Vendor-Profil: Oracle VirtualBox"), "Vendor profile: Oracle VirtualBox");
  EXPECT_EQ(plainText("Logs: helpful for debugging, usually safe to remove."),
            "Logs: helpful for debugging, usually safe to remove.");
  EXPECT_EQ(plainText(""), "");
}

TEST(PlainText, FollowsTheLanguage) {
  useLocalization("de", ResourceBundle::shipped());
  const std::string source = plainText(localized("Source: Layer C (Vendor Inspector)"));
  const std::string profile = plainText("Vendor-Profil: Oracle VirtualBox");
  useLocalization("", ResourceBundle(""));
  EXPECT_EQ(source, "Quelle: was über diesen Hersteller bekannt ist");
  EXPECT_EQ(profile, "Herstellerprofil: Oracle VirtualBox");
}

}  // namespace
}  // namespace quarn::plain_text_tests
