#include <thread>

#include <gtest/gtest.h>

#include "tests/QuarnCore/discovery/ArtifactLines.h"
#include "tests/QuarnCore/inspection/Inspector.h"

namespace quarn::inspection_concurrency_tests {
namespace {

TEST(InspectionConcurrency, TwoConcurrentInspectionsFindTheSameAsSeparateOnes) {
  MacVolume volume;
  for (const char* name : {"Example", "Second"}) {
    const std::string identifier = std::string("com.example.") + name;
    volume.app(std::string("/Applications/") + name + ".app", {.bundleIdentifier = identifier});
    for (int i = 0; i < 20; ++i) {
      volume.file("~/Library/Caches/" + identifier + "/" + std::to_string(i) + "/a", 4_KiB)
          .file("~/Library/Application Support/" + identifier + " " + std::to_string(i) + "/é", 4_KiB);
    }
    volume.plist("/Library/LaunchDaemons/" + identifier + ".plist", {{"Label", identifier}})
        .folder(std::string("~/Documents/") + name + " Projects");
  }
  const AppInspectionService service = Inspector(volume).service();
  AppEntity second = exampleApp();
  second.name = "Second";
  second.bundleIdentifier = "com.example.Second";
  second.bundleURL = FileURL("/Applications/Second.app");
  const std::vector<AppEntity> apps{exampleApp(), second};
  std::vector<std::vector<std::string>> alone;
  for (const AppEntity& app : apps) alone.push_back(lines(service.inspect(app, inspectionOptions(true)).artifacts));
  ASSERT_GT(alone[0].size(), 20U);
  ASSERT_GT(alone[1].size(), 20U);

  std::vector<std::vector<std::string>> together(apps.size());
  std::vector<std::size_t> phases(apps.size());
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < apps.size(); ++i) {
    threads.emplace_back([&, i] {
      for (int round = 0; round < 3; ++round) {
        const AppInspection inspection = service.inspect(apps[i], inspectionOptions(true), [&](auto) { ++phases[i]; });
        together[i] = lines(inspection.artifacts);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(together, alone);
  EXPECT_EQ(phases, (std::vector<std::size_t>{27, 27}));
}

TEST(InspectionConcurrency, ProgressIsReportedOnTheCallersThread) {
  const MacVolume volume;
  const std::thread::id caller = std::this_thread::get_id();
  int reports = 0;
  (void)Inspector(volume).service().inspect(exampleApp(), inspectionOptions(true), [&](auto) {
    ++reports;
    EXPECT_EQ(std::this_thread::get_id(), caller);
  });
  EXPECT_EQ(reports, 9);
}

}  // namespace
}  // namespace quarn::inspection_concurrency_tests
