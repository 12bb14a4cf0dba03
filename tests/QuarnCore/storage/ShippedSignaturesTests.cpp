#include <filesystem>
#include <set>

#include <gmock/gmock.h>

#include "QuarnCore/storage/StorageSignatureJSON.h"
#include "QuarnCore/storage/StorageSignatureRegistry.h"
#include "QuarnPlatform/text/Text.h"
#include "tests/support/ProjectFolder.h"

namespace quarn::shipped_signatures_tests {
namespace {

using Category = StorageCategoryID;
using Signature = StorageSignatureRegistry::Signature;
using Kind = Signature::Kind;

ResourceBundle sources() { return ResourceBundle(projectFolder() / "QuarnCore/storage/resources"); }

StorageSignatureRegistry shipped() { return StorageSignatureRegistry::loadDefault(sources()); }

TEST(ShippedSignatures, Decode) {
  const std::optional<std::string> text = sources().read("storage-signatures", "json");
  ASSERT_TRUE(text);
  std::string problem;
  EXPECT_TRUE(decodeStorageSignatures(*text, &problem)) << problem;
  const StorageSignatureRegistry registry = shipped();
  EXPECT_EQ(registry.version(), 1);
  EXPECT_GT(registry.signatures().size(), 40u);
}

TEST(ShippedSignatures, EachHasAReasonOfOneSentence) {
  const StorageSignatureRegistry registry = shipped();
  for (const Signature& signature : registry.signatures()) {
    ASSERT_TRUE(signature.reason) << signature.pattern;
    const std::string& reason = *signature.reason;
    EXPECT_TRUE(reason.size() >= 25 && reason.ends_with('.') && reason.find(". ") == std::string::npos) << reason;
    EXPECT_EQ(reason.find_first_of("\n\t!?"), std::string::npos) << reason;
  }
}

TEST(ShippedSignatures, PatternsAreLowerCasedNamesAndNoneIsThereTwice) {
  std::set<std::pair<bool, std::string>> seen;
  const StorageSignatureRegistry registry = shipped();
  for (const Signature& signature : registry.signatures()) {
    const std::string& pattern = signature.pattern;
    EXPECT_TRUE(seen.emplace(signature.kind == Kind::packageExtension, pattern).second) << pattern;
    EXPECT_EQ(Text::lowercased(pattern), pattern);
    EXPECT_FALSE(pattern.empty());
    EXPECT_EQ(pattern.find('/'), std::string::npos) << pattern;
    EXPECT_LE(std::count(pattern.begin(), pattern.end(), '*'), 1) << pattern << ": a second star would be text";
  }
}

TEST(ShippedSignatures, ExtensionsAreExtensions) {
  const StorageSignatureRegistry registry = shipped();
  std::set<Category> categories;
  for (const auto& [extension, category] : registry.packageCategoryByExtension()) {
    EXPECT_EQ(extension.find_first_of(".* "), std::string::npos) << extension;
    EXPECT_NE(category, Category::free) << extension;
    categories.insert(category);
  }
  for (const Category category : {Category::documents, Category::photos, Category::games, Category::development}) {
    EXPECT_TRUE(categories.contains(category)) << rawValue(category);
  }
}

// These would assign items of every category to one.
TEST(ShippedSignatures, EverydayExtensionsAreLeftToTheirPlaces) {
  const StorageSignatureRegistry registry = shipped();
  const auto categories = registry.packageCategoryByExtension();
  for (const char* extension :
       {"txt", "pdf", "jpg", "png",  "mp3",    "mp4",    "mov",       "zip",  "dmg", "json", "plist",
        "db",  "log", "doc", "docx", "bundle", "plugin", "framework", "data", "bin", "iso"}) {
    EXPECT_FALSE(categories.contains(extension)) << extension;
  }
}

TEST(ShippedSignatures, MarkersAreForGamesAndSpecific) {
  const StorageSignatureRegistry registry = shipped();
  EXPECT_FALSE(registry.markerSignatures(Category::games).empty());
  for (const Signature& signature : registry.signatures()) {
    if (signature.kind == Kind::packageExtension) continue;
    EXPECT_EQ(signature.category, Category::games) << signature.pattern << ": nobody would look for it";
    std::string letters = signature.pattern;
    std::erase(letters, '*');
    EXPECT_GE(letters.size(), 5u) << signature.pattern;
  }
}

}  // namespace
}  // namespace quarn::shipped_signatures_tests
