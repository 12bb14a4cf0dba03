#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnPlatform/paths/PrivatePrefix.h"

namespace quarn::private_prefix_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(PrivatePrefix, IsRemovedOnceTheLongestFirst) {
  const std::vector<std::pair<std::string, std::optional<std::string>>> rows{
      {"/private/etc/hosts", "/etc/hosts"},
      {"/private/etc", "/etc"},
      {"/private/private/etc", std::nullopt},
      {"/private", std::nullopt},
      {"/privately/etc", std::nullopt},
      {"/etc/hosts", std::nullopt},
      {"/", std::nullopt},
      {"/private/var/automount/Network/x", "/Network/x"},
      {"/private/var/automount", "/var/automount"},
      {"/var/automount/Network/x", "/Network/x"},
      {"/var/automount", std::nullopt},
      {"/private/usr/x", std::nullopt},
      {"/private/usr2/x", "/usr2/x"},
      {"/var/automount/Users/ann", std::nullopt},
  };
  for (const auto& [path, shortened] : rows) EXPECT_EQ(path::withoutPrivatePrefix(path), shortened) << path;
}

TEST(PrivatePrefix, AddingPrefixesIsTheInverseOfRemovingThem) {
  EXPECT_THAT(path::withPrivatePrefixes("/etc/hosts"),
              ElementsAre("/private/var/automount/etc/hosts", "/var/automount/etc/hosts", "/private/etc/hosts"));
  for (const std::string& longer : path::withPrivatePrefixes("/etc/hosts")) {
    EXPECT_EQ(path::withoutPrivatePrefix(longer), "/etc/hosts");
  }
  EXPECT_THAT(path::withPrivatePrefixes("/usr/bin/x"), IsEmpty());
  EXPECT_THAT(path::withPrivatePrefixes("/Library"), IsEmpty());
}

TEST(PrivatePrefix, FoldersAboveAndInsideAPrefixMayContainIt) {
  for (const char* folder : {"/", "/private", "/private/etc", "/var", "/var/automount", "/var/automount/x"}) {
    EXPECT_TRUE(path::mayHoldPrivatePrefix(folder)) << folder;
  }
  for (const char* folder : {"/Users", "/etc", "/var/db", "/privately"}) {
    EXPECT_FALSE(path::mayHoldPrivatePrefix(folder)) << folder;
  }
}

}  // namespace
}  // namespace quarn::private_prefix_tests
