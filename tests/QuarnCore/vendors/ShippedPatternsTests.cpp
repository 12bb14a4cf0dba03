#include <set>

#include <gmock/gmock.h>

#include "QuarnCore/vendors/VendorPathResolver.h"
#include "QuarnPlatform/paths/Path.h"
#include "tests/support/VendorVolume.h"

namespace quarn::shipped_patterns_tests {
namespace {

struct Pattern {
  std::string vendor;
  std::string title;
  std::string text;
  const VendorProfile::ArtifactDefinition* definition;  // null for a carve-out
  std::vector<std::string> names;                       // with "~" as one of its own
};

std::vector<std::string> namesOf(std::string_view pattern) {
  const std::vector<std::string_view> names = path::names(pattern);
  return {names.begin(), names.end()};
}

const std::vector<Pattern>& patterns() {
  static const VendorProfileRegistry registry = shippedVendorProfiles();
  static const std::vector<Pattern> all = [] {
    std::vector<Pattern> found;
    const auto add = [&](const auto& source, const std::string& vendor, const auto* definition) {
      for (const std::string& path : source.paths) {
        found.push_back({vendor, source.title, path, definition, namesOf(path)});
      }
    };
    constexpr const VendorProfile::ArtifactDefinition* kNone = nullptr;
    for (const VendorProfile& profile : registry.profiles()) {
      for (const auto& definition : profile.artifacts) add(definition, productOf(profile), &definition);
      for (const auto& carveOut : profile.carveOuts) add(carveOut, productOf(profile), kNone);
    }
    return found;
  }();
  return all;
}

std::string where(const Pattern& pattern) { return pattern.vendor + ", " + pattern.title + ": " + pattern.text; }

TEST(ShippedPatterns, AreAbsoluteOrInTheHomeFolderAndPlainlyWritten) {
  ASSERT_GT(patterns().size(), 1'000u);
  for (const Pattern& pattern : patterns()) {
    EXPECT_TRUE(pattern.text.starts_with('/') || pattern.text.starts_with("~/")) << where(pattern);
    EXPECT_FALSE(pattern.text.ends_with('/') || pattern.text.ends_with(' ')) << where(pattern);
    EXPECT_EQ(pattern.text.find("//"), std::string::npos) << where(pattern);
    EXPECT_EQ(pattern.text.find_first_of("{}%\n\t\\"), std::string::npos) << where(pattern);
    for (const std::string& component : pattern.names) {
      EXPECT_NE(component, ".") << where(pattern);
      EXPECT_NE(component, "..") << where(pattern);
    }
  }
}

TEST(ShippedPatterns, EveryDefinitionAndCarveOutHasSome) {
  const VendorProfileRegistry registry = shippedVendorProfiles();
  for (const VendorProfile& profile : registry.profiles()) {
    for (const auto& definition : profile.artifacts)
      EXPECT_FALSE(definition.paths.empty()) << profile.id << ", " << definition.title;
    for (const auto& carveOut : profile.carveOuts)
      EXPECT_FALSE(carveOut.paths.empty()) << profile.id << ", " << carveOut.title;
  }
}

// Hidden entries are never listed, so a star behind a leading dot would find nothing.
TEST(ShippedPatterns, NoStarHidesBehindADot) {
  for (const Pattern& pattern : patterns()) {
    for (const std::string& component : pattern.names) {
      EXPECT_FALSE(component.starts_with('.') && component.find('*') != std::string::npos) << where(pattern);
    }
  }
}

// Folders that many vendors share, or the system or the user owns. None of them may be taken, nor anything around them.
// clang-format off
constexpr std::array<std::string_view, 44> kInBothLibraries{
    "", "/Application Support", "/Application Scripts", "/Caches", "/Preferences", "/Preferences/ByHost", "/Logs", "/Logs/DiagnosticReports",
    "/Containers", "/Group Containers", "/Saved Application State", "/HTTPStorages", "/Cookies", "/WebKit", "/LaunchAgents",
    "/LaunchDaemons", "/PrivilegedHelperTools", "/Extensions", "/Frameworks", "/Internet Plug-Ins", "/PreferencePanes",
    "/Audio", "/Audio/Plug-Ins", "/Audio/Plug-Ins/HAL", "/Mobile Documents", "/CloudStorage", "/Developer", "/Java",
    "/Application Support/CrashReporter", "/Application Support/Google", "/Application Support/Microsoft", "/Application Support/Adobe",
    "/Application Support/Mozilla", "/Application Support/com.apple.sharedfilelist", "/Caches/Google", "/Caches/Mozilla",
    "/Caches/com.apple.helpd", "/Services", "/Fonts", "/Receipts", "/StartupItems", "/Filesystems", "/SystemExtensions", "/Keychains",
};
constexpr std::array<std::string_view, 62> kShared{
    "~", "/Applications", "~/Applications", "/Applications/Utilities", "/Users", "/Users/Shared", "/usr", "/usr/local", "/usr/local/bin",
    "/usr/local/lib", "/usr/local/share", "/usr/local/etc", "/usr/local/var", "/usr/local/include", "/opt", "/opt/homebrew", "/private",
    "/private/var", "/private/etc", "/private/tmp", "/etc", "/var", "/tmp", "/private/var/db", "/private/var/db/receipts",
    "/private/var/root", "/private/var/root/Library", "/private/var/root/Library/Application Support", "/System", "/System/Library",
    "/System/Library/Extensions", "/System/Applications", "/Volumes", "~/Desktop", "~/Documents", "~/Downloads", "~/Movies", "~/Music",
    "~/Pictures", "~/Public", "~/Games", "~/.config", "~/.cache", "~/.local", "~/.local/share", "~/.docker", "~/.kube", "~/.ssh",
    "/Library/Java/JavaVirtualMachines", "~/Library/Application Support/Epic", "~/Library/Caches/KSCrashReports", "/bin", "/sbin",
    "/dev", "/cores", "/Library/Input Methods", "~/Library/Input Methods", "/Library/Screen Savers", "~/Library/Screen Savers",
    "/Library/Spotlight", "/Library/QuickLook", "~/Library/QuickLook",
};
// clang-format on

std::vector<std::string> sharedFolders() {
  std::vector<std::string> folders(kShared.begin(), kShared.end());
  for (const std::string_view inside : kInBothLibraries) {
    folders.push_back("/Library" + std::string(inside));
    folders.push_back("~/Library" + std::string(inside));
  }
  return folders;
}

TEST(ShippedPatterns, NoneCouldTakeAWholeSharedFolder) {
  for (const std::string& folder : sharedFolders()) {
    const std::vector<std::string> names = namesOf(folder);
    for (const Pattern& pattern : patterns()) {
      if (pattern.names.size() > names.size()) continue;
      const bool takes =
          std::equal(pattern.names.begin(), pattern.names.end(), names.begin(), VendorPathResolver::matches);
      EXPECT_FALSE(takes) << where(pattern) << " takes " << folder;
    }
  }
}

// "com.*" below a folder of everybody's would take what is not the vendor's.
TEST(ShippedPatterns, AStarRightBelowASharedFolderStandsBesideEnoughText) {
  const std::set<std::string, std::less<>> known{"jdk-*.jdk", "jdk1.*.jdk"};
  const std::set<std::string, std::less<>> everybodysEndings{"app", "plist", "savedState", "binarycookies",
                                                             "jdk", "kext",  "log",        "ips"};
  const std::vector<std::string> folders = sharedFolders();
  const std::set<std::string, std::less<>> shared(folders.begin(), folders.end());
  for (const Pattern& pattern : patterns()) {
    const std::string name(path::lastComponent(pattern.text));
    if (name.find('*') == std::string::npos || known.contains(name)) continue;
    const std::string folder = pattern.text.substr(0, pattern.text.size() - name.size() - 1);
    if (!shared.contains(folder)) continue;
    const bool endsLikeOthers = everybodysEndings.contains(path::extension(name));
    std::string letters(endsLikeOthers ? path::stem(name) : std::string_view(name));
    std::erase(letters, '*');
    EXPECT_GE(letters.size(), 5u) << where(pattern);
  }
}

TEST(ShippedPatterns, LieWhereTheirScopeAndKindSay) {
  struct Place {
    ArtifactKind kind;
    std::string_view part;
  };
  constexpr std::array kPlaces{
      Place{ArtifactKind::launchAgent, "/LaunchAgents/"}, Place{ArtifactKind::launchDaemon, "/LaunchDaemons/"},
      Place{ArtifactKind::savedState, "/Saved Application State"}, Place{ArtifactKind::receipt, "/receipts/"}};
  for (const Pattern& pattern : patterns()) {
    if (pattern.definition == nullptr) continue;
    const ArtifactKind kind = pattern.definition->kind;
    const ArtifactScope scope = pattern.text.starts_with('~') ? ArtifactScope::user : ArtifactScope::system;
    if (kind != ArtifactKind::appBundle) {
      EXPECT_EQ(pattern.definition->scope, scope) << where(pattern);
    }
    for (const Place& place : kPlaces) {
      if (kind == place.kind) {
        EXPECT_NE(pattern.text.find(place.part), std::string::npos) << where(pattern);
      }
    }
    for (const Place& job : {kPlaces[0], kPlaces[1]}) {
      if (pattern.text.find(job.part) != std::string::npos) {
        EXPECT_EQ(kind, job.kind) << where(pattern);
      }
    }
    EXPECT_EQ(kind == ArtifactKind::kernelExtension, pattern.text.ends_with(".kext")) << where(pattern);
    if (kind == ArtifactKind::appBundle) {
      EXPECT_TRUE(pattern.text.ends_with(".app")) << where(pattern);
    }
  }
}

// Whether some name could match both.
bool overlap(std::string_view left, std::string_view right) {
  const auto star = [](std::string_view text) { return text.find('*'); };
  if (star(left) == std::string_view::npos) return VendorPathResolver::matches(right, left);
  if (star(right) == std::string_view::npos) return VendorPathResolver::matches(left, right);
  const auto prefixes = [](std::string_view a, std::string_view b) { return a.starts_with(b) || b.starts_with(a); };
  const auto suffixes = [](std::string_view a, std::string_view b) { return a.ends_with(b) || b.ends_with(a); };
  return prefixes(left.substr(0, star(left)), right.substr(0, star(right))) &&
         suffixes(left.substr(left.rfind('*') + 1), right.substr(right.rfind('*') + 1));
}

// Whether the one could denote the other's item or a folder around it.
bool covers(const Pattern& outer, const Pattern& inner) {
  return outer.names.size() <= inner.names.size() &&
         std::equal(outer.names.begin(), outer.names.end(), inner.names.begin(), overlap);
}

// One would take the other's items away when duplicates are taken out.
TEST(ShippedPatterns, NoneCoversAnotherOfItsProfile) {
  for (const Pattern& outer : patterns()) {
    for (const Pattern& inner : patterns()) {
      if (&outer == &inner || outer.vendor != inner.vendor) continue;
      EXPECT_FALSE(covers(outer, inner)) << where(outer) << " covers " << inner.text;
    }
  }
}

// What belongs to several products is a carve-out of each of them and an artifact of none.
TEST(ShippedPatterns, NoItemBelongsToTwoVendorsUnlessBothCarveItOut) {
  for (const Pattern& left : patterns()) {
    for (const Pattern& right : patterns()) {
      if (left.names.size() != right.names.size() || left.vendor >= right.vendor || !covers(left, right)) continue;
      EXPECT_TRUE(left.definition == nullptr && right.definition == nullptr) << where(left) << " and " << where(right);
    }
  }
}

}  // namespace
}  // namespace quarn::shipped_patterns_tests
