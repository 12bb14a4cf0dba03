#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnCore/storage/RealPaths.h"
#include "QuarnPlatform/files/ReadReport.h"
#include "tests/support/MacVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::real_paths_tests {
namespace {

TEST(RealPaths, AnswerAsTheFileManagerDoes) {
  MacVolume volume;
  volume.file("/real/a").link("/linked", "/real").link("/dangling", "/nowhere").link("/circle", "/circle");
  const FileManager files = volume.files();
  RealPaths places(files);
  for (int round = 0; round < 2; ++round) {
    for (const char* path : {"/", "/real", "/real/a", "/real/a/b", "/real/b", "/linked/a", "/linked/b", "/dangling",
                             "/dangling/a", "/circle/a", "/none", "/none/at/all", "/real/../linked/a", "/real/./a"}) {
      const FileURL url(path);
      EXPECT_EQ(places.realPath(url), files.realPath(url)) << path;
      EXPECT_EQ(places.resolvedPath(url), files.resolvedPath(url)) << path;
      EXPECT_EQ(places.itemExists(url), files.itemExists(url)) << path;
    }
  }
}

TEST(RealPaths, APathIsLookedUpOnceAndNothingBelowAMissingFolder) {
  MacVolume volume;
  volume.file("/f/a");
  const FileManager files = volume.files();
  RealPaths places(files);
  EXPECT_FALSE(places.itemExists(FileURL("/f/b")));
  EXPECT_FALSE(places.itemExists(FileURL("/missing/a")));
  volume.file("/f/b").file("/f/c").file("/missing/b");
  EXPECT_FALSE(places.itemExists(FileURL("/f/b")));
  EXPECT_TRUE(places.itemExists(FileURL("/f/c")));
  EXPECT_FALSE(places.itemExists(FileURL("/missing/b")));
  EXPECT_EQ(places.realPath(FileURL("/missing/b")), std::nullopt);
}

TEST(RealPaths, WhatCannotBeLookedUpIsReportedOnce) {
  MacVolume volume;
  volume.file("/closed/in/a").file("/closed/in/b").mode("/closed", 0);
  const auto report = std::make_shared<ReadReport>();
  {
    const UnprivilegedUser user;
    const FileManager files = volume.files().reportingTo(report);
    RealPaths places(files);
    EXPECT_FALSE(places.itemExists(FileURL("/closed/in/a")));
    EXPECT_FALSE(places.itemExists(FileURL("/closed/in/b")));
    EXPECT_EQ(places.resolvedPath(FileURL("/closed/in/a")), "/closed/in/a");
  }
  volume.mode("/closed", 0755);
  EXPECT_EQ(report->count(UnreadableCause::permission), 1U);
}

}  // namespace
}  // namespace quarn::real_paths_tests
