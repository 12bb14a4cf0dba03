#include <filesystem>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "QuarnPlatform/resources/ResourceBundle.h"
#include "tests/support/ResourceFolder.h"

namespace quarn::resource_bundle_tests {
namespace {

TEST(ResourceBundle, FindsAFileByNameExtensionAndSubdirectory) {
  ResourceFolder folder;
  folder.file("index.json", "top");
  folder.file("vendors/index.json", "below");
  folder.file("vendors/deep/index.json", "deeper");
  folder.file("README", "plain");
  const ResourceBundle bundle = folder.bundle();
  EXPECT_EQ(bundle.read("index", "json"), "top");
  EXPECT_EQ(bundle.read("index", "json", "vendors"), "below");
  EXPECT_EQ(bundle.read("index", ".json", "vendors/"), "below");
  EXPECT_EQ(bundle.read("index", "json", "vendors/deep"), "deeper");
  EXPECT_EQ(bundle.read("deep/index", "json", "vendors"), "deeper");
  EXPECT_EQ(bundle.read("README", ""), "plain");
}

TEST(ResourceBundle, NamesAreExact) {
  ResourceFolder folder;
  folder.file("Index.json", "x");
  const ResourceBundle bundle = folder.bundle();
  EXPECT_EQ(bundle.read("index", "json"), std::nullopt);
  EXPECT_EQ(bundle.read("Index", "JSON"), std::nullopt);
  EXPECT_EQ(bundle.read("Index", ""), std::nullopt);
  EXPECT_EQ(bundle.read("Index.json", "json"), std::nullopt);
  EXPECT_EQ(bundle.read("Index", "json"), "x");
}

TEST(ResourceBundle, NothingIsFoundUnderNoName) {
  ResourceFolder folder;
  folder.file("a/b", "x");
  const ResourceBundle bundle = folder.bundle();
  EXPECT_EQ(bundle.read("", ""), std::nullopt);
  EXPECT_EQ(bundle.read("", "", "a"), std::nullopt);
  EXPECT_EQ(bundle.read("/", ""), std::nullopt);
}

TEST(ResourceBundle, ANameNeverLeavesTheFolder) {
  ResourceFolder folder;
  folder.file("secret.json", "secret");
  folder.file("bundle/a.json", "inside");
  folder.file("bundle/sub/b.json", "inside");
  folder.file("bundle/..a.json", "inside");
  const ResourceBundle bundle(folder.path() + "/bundle");
  EXPECT_EQ(bundle.read("../secret", "json"), std::nullopt);
  EXPECT_EQ(bundle.read("secret", "json", ".."), std::nullopt);
  EXPECT_EQ(bundle.read("secret", "json", "sub/../.."), std::nullopt);
  EXPECT_EQ(bundle.read("sub/../a", "json"), std::nullopt);
  EXPECT_EQ(bundle.read("..", ""), std::nullopt);
  EXPECT_EQ(bundle.read("x", "/../../secret.json"), std::nullopt);
  EXPECT_EQ(bundle.read(folder.path() + "/secret", "json"), std::nullopt);
  EXPECT_EQ(bundle.read("secret", "json", folder.path()), std::nullopt);
  EXPECT_EQ(bundle.read("..a", "json"), "inside");
}

TEST(ResourceBundle, ANameWithANulFindsNothing) {
  ResourceFolder folder;
  folder.file("a", "x");
  const ResourceBundle bundle = folder.bundle();
  EXPECT_EQ(bundle.read(std::string_view("a\0b", 3), ""), std::nullopt);
  EXPECT_EQ(bundle.read("a", ""), "x");
}

TEST(ResourceBundle, BytesAreUnchanged) {
  ResourceFolder folder;
  const std::string bytes("\0\xFF\r\n\0", 5);
  folder.file("bytes.bin", bytes);
  folder.file("empty.bin", "");
  folder.file("long.bin", std::string(200'000, 'x'));
  const ResourceBundle bundle = folder.bundle();
  EXPECT_EQ(bundle.read("bytes", "bin"), bytes);
  EXPECT_EQ(bundle.read("empty", "bin"), "");
  EXPECT_EQ(bundle.read("long", "bin")->size(), 200'000u);
}

TEST(ResourceBundle, AFileOverTheMaximumIsAbsent) {
  ResourceFolder folder;
  folder.file("most.bin", "");
  folder.file("more.bin", "");
  std::filesystem::resize_file(folder.path() + "/most.bin", ResourceBundle::kMaximumBytes);
  std::filesystem::resize_file(folder.path() + "/more.bin", ResourceBundle::kMaximumBytes + 1);
  const ResourceBundle bundle = folder.bundle();
  EXPECT_EQ(bundle.read("most", "bin")->size(), ResourceBundle::kMaximumBytes);
  EXPECT_EQ(bundle.read("more", "bin"), std::nullopt);
}

TEST(ResourceBundle, OnlyRegularFilesAreRead) {
  ResourceFolder folder;
  folder.file("folder.json/a", "x");
  ASSERT_EQ(::mkfifo((folder.path() + "/pipe.json").c_str(), 0600), 0);
  std::filesystem::create_symlink("nowhere", folder.path() + "/dangling.json");
  const ResourceBundle bundle = folder.bundle();
  EXPECT_EQ(bundle.read("folder", "json"), std::nullopt);
  EXPECT_EQ(bundle.read("pipe", "json"), std::nullopt);
  EXPECT_EQ(bundle.read("dangling", "json"), std::nullopt);
  EXPECT_EQ(bundle.read("missing", "json"), std::nullopt);
}

TEST(ResourceBundle, AMissingFolderIsEmpty) {
  EXPECT_EQ(ResourceBundle("/nonexistent").read("index", "json"), std::nullopt);
  EXPECT_EQ(ResourceBundle("").read("etc/hostname", ""), std::nullopt);
  EXPECT_EQ(ResourceBundle("").read("hostname", "", "/etc"), std::nullopt);
}

TEST(ResourceBundle, TheShippedResourcesLieBesideTheProgramsFolder) {
  const std::filesystem::path program = std::filesystem::canonical(::testing::internal::GetArgvs().at(0));
  const std::filesystem::path expected = program.parent_path().parent_path() / "share" / "quarn";
  EXPECT_EQ(ResourceBundle::shipped().folder(), expected.string());
}

}  // namespace
}  // namespace quarn::resource_bundle_tests
