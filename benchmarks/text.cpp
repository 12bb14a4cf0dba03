#include "QuarnPlatform/text/Text.h"

#include <array>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

// The cost per name of the text functions that listings, searches and sorts call. Each operation runs over several
// typical names of a Library folder; the figure is the average per name.

namespace quarn {
namespace {

enum Names : std::int64_t { ascii, composed, decomposed, otherScripts };

constexpr std::size_t kCount = 8;

constexpr std::array<std::array<const char*, kCount>, 4> kNames = {{
    {"com.example.Studio.plist", "Application Support", "My_App-Data", "HTTPStorages", "Example Helper (Renderer)",
     "com.example.Studio.savedState", "Uninstall Example.app", "index.json"},
    {"Caf\u00E9 M\u00FCller.app", "\u00C9diteur d\u2019images", "\u00DCbersicht", "Stra\u00DFenkarte.plist",
     "\u00C5ngstr\u00F6m Viewer", "M\u00FAsica y V\u00EDdeo", "D\u0142ugi plik", "Se\u00F1al.caches"},
    {"Cafe\u0301 Mu\u0308ller.app", "E\u0301diteur d\u2019images", "U\u0308bersicht", "Stra\u00DFenkarte.plist",
     "A\u030Angstro\u0308m Viewer", "Mu\u0301sica y Vi\u0301deo", "D\u0142ugi plik", "Sen\u0303al.caches"},
    {"\u0424\u043E\u0442\u043E\u0433\u0440\u0430\u0444\u0438\u0438", "\u30D5\u30A1\u30A4\u30EB", "\uC0AC\uC9C4",
     "\u7167\u7247.app", "\u0395\u03B9\u03BA\u03CC\u03BD\u03B5\u03C2", "\u05EA\u05DE\u05D5\u05E0\u05D5\u05EA",
     "\u0627\u0644\u0635\u0648\u0631", "\U0001F468\u200D\U0001F469\u200D\U0001F467 \u2764\uFE0F"},
}};

/// Calls the operation with each name in turn. The benchmark argument selects the set of names.
template <typename Operation>
void eachName(benchmark::State& state, Operation operation) {
  const auto& names = kNames[static_cast<std::size_t>(state.range(0))];
  const std::vector<std::string> texts(names.begin(), names.end());
  std::size_t next = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(operation(texts[next % kCount], texts[(next + 1) % kCount]));
    ++next;
  }
}

void allNames(benchmark::internal::Benchmark* benchmark) {
  benchmark->ArgName("names");
  for (const std::int64_t names : {ascii, composed, decomposed, otherScripts}) benchmark->Arg(names);
}

void folded(benchmark::State& state) {
  eachName(state, [](const std::string& name, const std::string&) { return Text::folded(name); });
}
BENCHMARK(folded)->Apply(allNames);

void lowercased(benchmark::State& state) {
  eachName(state, [](const std::string& name, const std::string&) { return Text::lowercased(name); });
}
BENCHMARK(lowercased)->Apply(allNames);

void normalizedKey(benchmark::State& state) {
  eachName(state, [](const std::string& name, const std::string&) { return Text::normalizedKey(name); });
}
BENCHMARK(normalizedKey)->Apply(allNames);

void characterCount(benchmark::State& state) {
  eachName(state, [](const std::string& name, const std::string&) { return Text::characterCount(name); });
}
BENCHMARK(characterCount)->Apply(allNames);

void compare(benchmark::State& state) {
  const Locale locale("de_DE");
  eachName(state, [&locale](const std::string& name, const std::string& other) {
    return Text::localizedCaseInsensitiveCompare(name, other, locale);
  });
}
BENCHMARK(compare)->Apply(allNames);

void contains(benchmark::State& state) {
  eachName(state, [](const std::string& name, const std::string& other) { return Text::contains(name, other); });
}
BENCHMARK(contains)->Apply(allNames);

}  // namespace
}  // namespace quarn
