#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "QuarnCore/storage/StorageSignatureRegistry.h"
#include "QuarnCore/storage/VendorPathHintIndex.h"
#include "QuarnCore/vendors/VendorArtifactDeduplicator.h"
#include "QuarnCore/vendors/VendorPathResolver.h"
#include "QuarnCore/vendors/VendorProfileRegistry.h"

// The vendor profiles: loaded once per process, queried for every app and every path.

namespace quarn {
namespace {

// A temporary folder that serves as a volume.
class TemporaryVolume {
 public:
  TemporaryVolume() : root_((std::filesystem::temp_directory_path() / "benchmark-XXXXXX").string()) {
    if (::mkdtemp(root_.data()) == nullptr) std::abort();
    std::filesystem::create_directories(root_ + "/Users/ann");
  }
  ~TemporaryVolume() { std::filesystem::remove_all(root_); }
  TemporaryVolume(const TemporaryVolume&) = delete;
  TemporaryVolume& operator=(const TemporaryVolume&) = delete;

  void folder(const std::string& path) const { std::filesystem::create_directories(root_ + path); }
  [[nodiscard]] const std::string& root() const { return root_; }
  [[nodiscard]] FileManager files() const { return FileManager::mounted(root_, FileURL("/Users/ann")); }

 private:
  std::string root_;
};

void loadProfiles(benchmark::State& state) {
  std::size_t count = 0;
  for (auto _ : state) count = VendorProfileRegistry::loadDefault().profiles().size();
  state.counters["profiles"] = static_cast<double>(count);
}
BENCHMARK(loadProfiles)->Unit(benchmark::kMillisecond);

void loadSignatures(benchmark::State& state) {
  std::size_t count = 0;
  for (auto _ : state) count = StorageSignatureRegistry::loadDefault().signatures().size();
  state.counters["signatures"] = static_cast<double>(count);
}
BENCHMARK(loadSignatures)->Unit(benchmark::kMillisecond);

std::vector<AppEntity> apps(int count) {
  std::vector<AppEntity> apps;
  for (int i = 0; i < count; ++i) {
    const std::string name = "Example Studio " + std::to_string(i);
    apps.push_back({.name = name,
                    .bundleIdentifier = "com.example.Studio" + std::to_string(i),
                    .bundleURL = FileURL("/Applications/" + name + ".app")});
  }
  return apps;
}

void matchFiveHundredApps(benchmark::State& state) {
  const VendorProfileRegistry registry = VendorProfileRegistry::loadDefault();
  const std::vector<AppEntity> all = apps(500);
  for (auto _ : state) {
    for (const AppEntity& app : all) benchmark::DoNotOptimize(registry.matchingProfiles(app));
  }
}
BENCHMARK(matchFiveHundredApps)->Unit(benchmark::kMillisecond);

// Includes the cost of copying the matching profiles.
void matchAnAppOfAVendor(benchmark::State& state) {
  const VendorProfileRegistry registry = VendorProfileRegistry::loadDefault();
  const AppEntity app{.name = "Slack",
                      .bundleIdentifier = "com.tinyspeck.slackmacgap",
                      .bundleURL = FileURL("/Applications/Slack.app")};
  for (auto _ : state) benchmark::DoNotOptimize(registry.matchingProfiles(app));
}
BENCHMARK(matchAnAppOfAVendor)->Unit(benchmark::kMicrosecond);

void deduplicate(benchmark::State& state) {
  const TemporaryVolume volume;
  const FileManager files = volume.files();
  std::vector<Artifact> artifacts;
  for (int i = 0; i < static_cast<int>(state.range(0)); ++i) {
    const std::string folder = "/Users/ann/Library/Application Support/Vendor " + std::to_string(i % 997);
    artifacts.push_back(
        {.urls = {FileURL(i % 3 == 0 ? folder : folder + "/Product/" + std::to_string(i))}, .title = "Data"});
  }
  for (auto _ : state) benchmark::DoNotOptimize(VendorArtifactDeduplicator::deduplicate(artifacts, files));
}
BENCHMARK(deduplicate)->Arg(1'000)->Arg(10'000)->Unit(benchmark::kMillisecond);

void matchWildcard(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(VendorPathResolver::matches("com.example.*.plist", "com.example.Studio.helper.plist"));
  }
}
BENCHMARK(matchWildcard);

void matchTenThousandStars(benchmark::State& state) {
  std::string pattern;
  for (int i = 0; i < 10'000; ++i) pattern += "a*";
  const std::string text(static_cast<std::size_t>(state.range(0)), 'a');
  for (auto _ : state) benchmark::DoNotOptimize(VendorPathResolver::matches(pattern + "b", text));
}
BENCHMARK(matchTenThousandStars)->Arg(10'000)->Arg(1'000'000)->Unit(benchmark::kMicrosecond);

// A folder of hard links to one file. A component with a star lists the folder.
void resolveAStarInABigFolder(benchmark::State& state) {
  const TemporaryVolume volume;
  volume.folder("/Library/Caches");
  const std::string folder = volume.root() + "/Library/Caches/";
  std::ofstream(folder + "com.example.0").put('q');
  for (int i = 1; i < static_cast<int>(state.range(0)); ++i) {
    const std::string original = folder + "com.example." + std::to_string(i / 30'000 * 30'000);
    if (i % 30'000 == 0) {
      std::ofstream(original).put('q');
    } else {
      std::filesystem::create_hard_link(original, folder + "com.example." + std::to_string(i));
    }
  }
  const FileManager files = volume.files();
  for (auto _ : state) {
    benchmark::DoNotOptimize(VendorPathResolver::resolve({"/Library/Caches/*.99"}, files, files.homeDirectory()));
  }
}
BENCHMARK(resolveAStarInABigFolder)->Arg(1'000)->Arg(100'000)->Unit(benchmark::kMillisecond);

void buildHintIndex(benchmark::State& state) {
  const TemporaryVolume volume;
  for (const char* name : {"Slack", "zoom.us", "Steam", "Dropbox", "Code"}) {
    volume.folder("/Users/ann/Library/Application Support/" + std::string(name));
  }
  const VendorProfileRegistry registry = VendorProfileRegistry::loadDefault();
  const FileManager files = volume.files();
  for (auto _ : state) benchmark::DoNotOptimize(VendorPathHintIndex(registry, files.homeDirectory(), files));
}
BENCHMARK(buildHintIndex)->Unit(benchmark::kMillisecond);

void lookUpHint(benchmark::State& state) {
  const TemporaryVolume volume;
  VendorProfile profile{.id = "slack", .artifacts = {{.kind = ArtifactKind::cache}}};
  for (int i = 0; i < 1'000; ++i) {
    const std::string path = "/Users/ann/Library/Caches/com.example." + std::to_string(i);
    volume.folder(path);
    profile.artifacts[0].paths.push_back(path);
  }
  const FileManager files = volume.files();
  const VendorPathHintIndex index(VendorProfileRegistry({profile}), files.homeDirectory(), files);
  const FileURL url("/Users/ann/Library/Caches/com.example.500/Cache/data/a.bin");
  for (auto _ : state) benchmark::DoNotOptimize(index.hint(url, StorageCategoryID::communication));
}
BENCHMARK(lookUpHint);

}  // namespace
}  // namespace quarn
