#include <array>

#include "quarn/sample/SampleItems.h"

namespace quarn::sample {
namespace {

// clang-format off
constexpr auto kDeveloperItems = std::to_array<Item>({
    {.path = "~/Library/Developer/Xcode/DerivedData/Skiff-abc/Build/Products/Debug/Skiff.app/Contents/MacOS/Skiff",
     .bytes = 408 * kKB},
    {.path = "~/Library/Developer/Xcode/DerivedData/Skiff-abc/Index.noindex/DataStore/v5/units/a", .bytes = 114 * kKB},
    {.path = "~/Library/Developer/Xcode/Archives/2026-02-01/Skiff.xcarchive/Info.plist", .form = Form::settings,
     .bytes = 2 * kKB},
    {.path = "~/Library/Developer/Xcode/iOS DeviceSupport/iPhone17,1 26.2/Symbols/dyld", .form = Form::sparse,
     .bytes = 5 * kGB},
    {.path = "~/Library/Developer/CoreSimulator/Devices/8F00/data/Containers/Data/a.db", .bytes = 144 * kKB},
    {.path = "~/Library/Application Support/Code/User/settings.json", .bytes = 3 * kKB},
    {.path = "~/Library/Application Support/Code/CachedData/1/main.code", .bytes = 210 * kKB},
    {.path = "~/Library/Application Support/Code - Insiders/User/settings.json", .bytes = 2 * kKB},
    {.path = "~/Library/Application Support/JetBrains/IntelliJIdea2026.1/options/ide.xml", .bytes = 5 * kKB},
    {.path = "~/Library/Caches/JetBrains/IntelliJIdea2026.1/index/stubs", .bytes = 432 * kKB},
    {.path = "~/Library/Logs/JetBrains/IntelliJIdea2026.1/idea.log", .bytes = 60 * kKB},
    {.path = "~/Library/Application Support/Google/AndroidStudio2026.1/options/ide.xml", .bytes = 4 * kKB},
    {.path = "~/Library/Application Support/Google/AndroidStudio/plugins/a.jar", .bytes = 110 * kKB},
    {.path = "~/Library/Caches/Google/AndroidStudio/index", .bytes = 96 * kKB},
    {.path = "~/.vscode/extensions/example.lang-1.0/package.json", .bytes = 2 * kKB},
    {.path = "~/.vscode/extensions/example.lang-1.0/out/main.js", .bytes = 140 * kKB},
    {.path = "~/.vscode-insiders/extensions/example.theme-2.1/package.json", .bytes = 2 * kKB},
    {.path = "~/.gradle/caches/modules-2/files-2.1/lib.jar", .bytes = 324 * kKB},
    {.path = "~/.m2/repository/org/example/lib/1.0/lib-1.0.jar", .bytes = 186 * kKB},
    {.path = "~/.android/avd/Pixel.avd/userdata.img", .form = Form::sparse, .bytes = 8 * kGB},
    {.path = "~/.android/adbkey", .bytes = 2 * kKB},
    {.path = "~/.npm/_cacache/content-v2/sha512/00/a", .bytes = 156 * kKB},
    {.path = "~/.cargo/registry/cache/index/serde.crate", .bytes = 90 * kKB},
    {.path = "~/.rustup/toolchains/stable/bin/rustc", .bytes = 258 * kKB},
    {.path = "~/.pub-cache/hosted/pub.dev/path-1.9/lib/path.dart", .bytes = 20 * kKB},
    {.path = "~/.composer/cache/files/a.zip", .bytes = 45 * kKB},
    {.path = "~/.cocoapods/repos/trunk/all_pods.txt", .bytes = 70 * kKB},
    {.path = "~/Library/Caches/org.swift.swiftpm/repositories/skiff/HEAD", .bytes = 1 * kKB},
    {.path = "~/Library/Caches/CocoaPods/Pods/a.podspec.json", .bytes = 3 * kKB},
    {.path = "~/Library/Caches/Homebrew/downloads/bottle.tar.gz", .bytes = 528 * kKB},
    {.path = "~/Library/Caches/org.carthage.CarthageKit/dependencies/a/HEAD", .bytes = 1 * kKB},
    {.path = "~/Library/Caches/org.carthage.Carthage/a", .bytes = 1 * kKB},
    {.path = "~/Library/Application Support/Carthage/a", .bytes = 1 * kKB},
    {.path = "~/Library/Containers/com.docker.docker/Data/vms/0/data/Docker.raw", .form = Form::sparse,
     .bytes = 64 * kGB},
    {.path = "~/Library/Containers/com.docker.docker/Data/log/host/docker.log", .bytes = 80 * kKB},
    {.path = "~/Library/Group Containers/group.com.docker/settings-store.json", .bytes = 2 * kKB},
    {.path = "~/Library/Application Support/Docker Desktop/Preferences", .bytes = 4 * kKB},
    {.path = "~/.docker/config.json", .form = Form::text, .text = "{}\n"},
    {.path = "/Library/Developer/CommandLineTools/usr/bin/clang", .bytes = 456 * kKB},
    {.path = "/Library/Developer/PrivateFrameworks/CoreSimulator.framework/Versions/A/CoreSimulator",
     .bytes = 144 * kKB},
    {.path = "/usr/local/bin/skiff", .form = Form::tool},
    {.path = "/usr/local/lib/libskiff.dylib", .bytes = 90 * kKB},
    {.path = "/usr/local/share/doc/skiff/README", .form = Form::text, .text = "skiff\n"},
    {.path = "/opt/homebrew/Cellar/jq/1.7/bin/jq", .bytes = 126 * kKB},
    {.path = "/opt/homebrew/bin/jq", .form = Form::link, .text = "../Cellar/jq/1.7/bin/jq"},
});
// clang-format on
static_assert(kDeveloperItems.size() == 45);

}  // namespace

std::span<const Item> developerItems() { return kDeveloperItems; }

}  // namespace quarn::sample
