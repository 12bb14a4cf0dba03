#include <cstdint>
#include <string>

#include <benchmark/benchmark.h>

#include "QuarnCore/storage/ScanAttribution.h"
#include "QuarnCore/storage/StorageSignatureRegistry.h"
#include "QuarnPlatform/paths/PathTrie.h"

// The work of a partitioned scan per item: one step in the rules and one lookup of the extension.

namespace quarn {
namespace {

// The argument is the number of rules below one folder. The cost of a step must not depend on it.
void stepInTheTrie(benchmark::State& state) {
  PathTrie<int> trie;
  for (int i = 0; i < static_cast<int>(state.range(0)); ++i) {
    trie.insert("/Users/ann/Library/Caches/com.example." + std::to_string(i), i);
  }
  const auto folder = trie.find("/Users/ann/Library/Caches");
  for (auto _ : state) benchmark::DoNotOptimize(trie.step(folder, "com.example.100"));
}
BENCHMARK(stepInTheTrie)->ArgName("rules")->Arg(200)->Arg(20'000);

// Most items of a disk are outside all rules.
void stepOutsideTheTrie(benchmark::State& state) {
  PathTrie<int> trie;
  trie.insert("/Users/ann/Library/Caches", 0);
  const auto folder = trie.find("/Users/ann/Library/Caches");
  for (auto _ : state) benchmark::DoNotOptimize(trie.step(folder, "com.example.100"));
}
BENCHMARK(stepOutsideTheTrie);

ScanRules rules() {
  ScanPlan plan;
  for (int i = 0; i < 200; ++i) {
    plan.prefixRules.push_back(
        {"/Users/ann/Library/Caches/com.example." + std::to_string(i), StorageCategoryID::games});
  }
  return {plan, StorageSignatureRegistry::loadDefault().packageCategoryByExtension()};
}

void stepAmongRules(benchmark::State& state) {
  const ScanRules compiled = rules();
  const auto folder = compiled.find("/Users/ann/Library/Caches");
  const std::string name = state.range(0) == 0 ? "com.example.100" : "com.example.other";
  for (auto _ : state) benchmark::DoNotOptimize(compiled.step(folder, name));
}
BENCHMARK(stepAmongRules)->ArgName("isMiss")->Arg(0)->Arg(1);

void attributeFile(benchmark::State& state) {
  const ScanRules compiled = rules();
  const ItemAttribution attribution(compiled);
  const std::string name = state.range(0) == 0 ? "IMG_0001.JPG" : "README";
  for (auto _ : state) benchmark::DoNotOptimize(attribution.file({}, name));
}
BENCHMARK(attributeFile)->ArgName("withoutExtension")->Arg(0)->Arg(1);

}  // namespace
}  // namespace quarn
