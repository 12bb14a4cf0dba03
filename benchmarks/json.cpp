#include <cstdint>
#include <string>

#include <benchmark/benchmark.h>

#include "QuarnModels/AppInspection.h"
#include "QuarnModels/Storage.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/wire/RecordJSON.h"

// Encoding a result as a line, and decoding the params of a request from a line.

namespace quarn {
namespace {

AppInspection inspection(std::int64_t artifacts) {
  AppInspection inspection{.app = {.name = "Example Studio",
                                   .bundleIdentifier = "com.example.Studio",
                                   .bundleURL = FileURL("/Applications/Example Studio.app")}};
  for (std::int64_t i = 0; i < artifacts; ++i) {
    Artifact artifact{.kind = ArtifactKind::cache,
                      .dataClass = ArtifactDataClass::rebuildable,
                      .urls = {FileURL("/Users/ann/Library/Caches/com.example.Studio." + std::to_string(i))},
                      .size = SizeInfo{.allocatedBytes = 4096 * i, .logicalBytes = 1000 * i},
                      .confidence = 0.95,
                      .title = "Cache of \u00C9diteur " + std::to_string(i),
                      .explanation = "Cache data: rebuilt by the app and usually safe to remove."};
    artifact.renewID();
    inspection.artifacts.push_back(std::move(artifact));
  }
  return inspection;
}

void encodeInspection(benchmark::State& state) {
  const AppInspection value = inspection(state.range(0));
  std::size_t bytes = 0;
  for (auto _ : state) {
    const std::string line = jsonText(value);
    bytes = line.size();
    benchmark::DoNotOptimize(line.data());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
}
BENCHMARK(encodeInspection)->ArgName("artifacts")->Arg(30)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMicrosecond);

void decodeInspection(benchmark::State& state) {
  const std::string line = jsonText(inspection(state.range(0)));
  for (auto _ : state) {
    const std::optional<JSONDocument> document = JSONDocument::parse(line);
    benchmark::DoNotOptimize(fromJSON<AppInspection>(JSONDecoder(document->root())).artifacts.size());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(line.size()) * state.iterations());
}
BENCHMARK(decodeInspection)->ArgName("artifacts")->Arg(30)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMicrosecond);

// The parser alone, and the library that it replaces.
void parseInspection(benchmark::State& state) {
  const std::string line = jsonText(inspection(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(JSONDocument::parse(line)->root().count());
  state.SetBytesProcessed(static_cast<std::int64_t>(line.size()) * state.iterations());
}
BENCHMARK(parseInspection)->ArgName("artifacts")->Arg(10'000)->Unit(benchmark::kMicrosecond);

void parseInspectionByLibrary(benchmark::State& state) {
  const std::string line = jsonText(inspection(state.range(0)));
  std::string problem;
  for (auto _ : state) benchmark::DoNotOptimize(JSONDocument::parseByLibrary(line, problem)->root().count());
  state.SetBytesProcessed(static_cast<std::int64_t>(line.size()) * state.iterations());
}
BENCHMARK(parseInspectionByLibrary)->ArgName("artifacts")->Arg(10'000)->Unit(benchmark::kMicrosecond);

void encodeTopItems(benchmark::State& state) {
  std::vector<TopItem> items;
  for (std::int64_t i = 0; i < state.range(0); ++i) {
    const std::string name = "IMG_" + std::to_string(i) + ".heic";
    items.push_back({.url = FileURL("/Users/ann/Pictures/2026/" + name),
                     .name = name,
                     .size = {.allocatedBytes = 4096 * i, .logicalBytes = 1000 * i}});
  }
  for (auto _ : state) benchmark::DoNotOptimize(jsonText(items).size());
}
BENCHMARK(encodeTopItems)->ArgName("items")->Arg(10'000)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace quarn
