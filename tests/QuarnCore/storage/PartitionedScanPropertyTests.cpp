#include <filesystem>
#include <random>
#include <stdexcept>

#include <gmock/gmock.h>

#include "QuarnCore/storage/RecordedFolders.h"
#include "tests/QuarnCore/storage/PlainScan.h"

namespace quarn::partitioned_scan_property_tests {
namespace {

using Category = StorageCategoryID;

// clang-format off
constexpr std::array<std::string_view, 50> kPlaces{
    "~", "~/Pictures", "~/Music", "~/Documents", "~/Desktop", "~/Games", "~/Applications", "~/.config", "~/.cargo", "~/.Trash",
    "~/stuff", "~/Tool.app", "~/Lib.abc", "~/x.none",
    "~/Library", "~/Library/Mail", "~/Library/Application Support", "~/Library/Application Support/Slack",
    "~/Library/Containers/com.apple.mail", "~/Library/Developer", "~/Library/Caches/Homebrew",
    "~/Library/CloudStorage", "~/Library/CloudStorage/Box", "~/Library/Mobile Documents/com~apple~CloudDocs",
    "~/Library/Mobile Documents/com~apple~CloudDocs/Desktop", "~/Library/Application Support/Steam/steamapps",
    "~/Library/Application Support/Quarn/Quarantine",
    "/Applications", "/System/Applications", "/System/Library", "/System/Library/CoreServices/Applications",
    "/Library", "/Library/Application Support/Logic", "/Library/Developer",
    "/usr", "/usr/local", "/opt/homebrew", "/private", "/private/var", "/private/var/db", "/private/etc", "/private/tmp/x",
    "/Users/Shared", "/Users/bob", "/Users/bob/Library", "/Users/eve.app", "/Users/joe.abc",
    "/Volumes/Disk/x", "/Elsewhere", "/Elsewhere/deep/er",
};
constexpr std::array<std::string_view, 13> kNames{
    "a", "b", ".h", "Pkg.app", "Lib.abc", "doc.abc", "Doc.ABC", "x.none", "file.def", "Slack", "marker", "a.b c", "\u00E9",
};
constexpr std::array<std::string_view, 8> kLinks{
    "/", "/Users", "/private", "/Volumes/Macintosh HD", "../Documents", ".", "loop", "/nowhere",
};
// clang-format on

class RandomVolume : public DashboardVolume {
 public:
  explicit RandomVolume(unsigned seed, std::string_view home) : DashboardVolume(home), random_(seed) {
    if (chance(80)) tryTo([&] { link("/var", "private/var"); });
    if (chance(50)) tryTo([&] { link("/tmp", "private/tmp"); });
    if (chance(50)) tryTo([&] { link("/Volumes/Macintosh HD", "/"); });
    for (int i = 0; i < 14; ++i) addItem(std::string(pick(kPlaces)));
    for (int i = 0; i < 60; ++i) addItem(somewhere());
    giveRules();
  }

 private:
  bool chance(unsigned percent) { return random_() % 100 < percent; }

  template <class Table>
  std::string_view pick(const Table& table) {
    return table[random_() % table.size()];
  }

  std::string somewhere() {
    std::string path(pick(kPlaces));
    for (auto depth = random_() % 3; depth > 0; --depth) (path += '/') += pick(kNames);
    return path;
  }

  // Existing items stay.
  template <class Make>
  static void tryTo(const Make& make) {
    try {
      make();
    } catch (const std::runtime_error&) {
    }
  }

  void addItem(const std::string& folder) {
    const std::string path = folder + "/" + std::string(pick(kNames));
    if (std::filesystem::symlink_status(host(path)).type() != std::filesystem::file_type::not_found) return;
    const auto size = static_cast<std::int64_t>(1 + random_() % 1'000'000);
    tryTo([&] {
      if (chance(15)) {
        link(chance(50) ? path : folder, chance(50) ? std::string(pick(kLinks)) : this->path(somewhere()));
      } else if (chance(10)) {
        this->folder(path);
      } else if (chance(5)) {
        fifo(path);
      } else if (chance(20)) {
        file(path, size % 20'000);
      } else {
        sparse(path, size);
      }
    });
    if (chance(4) && std::filesystem::is_directory(host(folder))) tryTo([&] { bundleBit(folder); });
  }

  void giveRules() {
    if (chance(70)) extension("abc", Category::games);
    if (chance(50)) extension("DEF", Category::development);
    if (chance(50)) extension("none", Category::free);
    if (chance(30)) extension("app", Category::apps);
    if (chance(30)) extension("def", Category::other);
    if (chance(50)) gameMarker("marker");
    for (const char* id : {"slack", "steam", "xcode", "dropbox", "safari"}) {
      if (chance(40)) vendor(id, {somewhere(), somewhere() + "/*"});
    }
    if (chance(30)) {
      tryTo([&] {
        text("/Users/Shared/Steam/steamapps/libraryfolders.vdf", "\"path\" \"" + path(somewhere()) + "\"\n");
        folder("/Elsewhere/steamapps");
      });
    }
  }

  std::mt19937 random_;
};

using Sizes = StorageDashboardService::CategorySizes;

Sizes sumOf(const std::vector<PlainlyScanned>& files) {
  Sizes sizes;
  for (const Category category : allCases<Category>()) sizes[category] = {};
  for (const PlainlyScanned& file : files) sizes[file.category] += file.size;
  sizes.erase(Category::free);
  return sizes;
}

std::string textOf(const Sizes& sizes) {
  std::string text;
  for (const auto& [category, size] : sizes) {
    text += std::string(rawValue(category)) + " " + std::to_string(size.logicalBytes) + " (" +
            std::to_string(size.allocatedBytes) + ")\n";
  }
  return text;
}

// The content of a volume, for failure messages.
std::string listing(const MacVolume& volume, const std::vector<PlainlyScanned>& files) {
  std::string text;
  for (const PlainlyScanned& file : files) {
    text +=
        file.path + ": " + std::string(rawValue(file.category)) + " " + std::to_string(file.size.logicalBytes) + "\n";
  }
  for (const auto& entry : std::filesystem::recursive_directory_iterator(volume.root())) {
    if (!entry.is_symlink()) continue;
    text += entry.path().string().substr(volume.root().size()) + " -> " + read_symlink(entry.path()).string() + "\n";
  }
  return text;
}

class PartitionedScanProperty : public ::testing::TestWithParam<std::string_view> {};

TEST_P(PartitionedScanProperty, EveryFileBelowARootCountsOnceInTheCategoryOfThePlainRules) {
  for (unsigned seed = 0; seed < 25; ++seed) {
    const RandomVolume volume(seed, GetParam());
    const auto sizes = volume.dashboard().calculatePartitionedCategorySizes({}, Cancellation::never());
    const std::vector<PlainlyScanned> expected = plainScan(volume);
    ASSERT_EQ(textOf(sizes), textOf(sumOf(expected))) << "seed " << seed << "\n" << listing(volume, expected);
  }
}

/// A folder as text: sizes of all and of hidden files, count, and marks.
std::string recordText(const SizeInfo& all, const SizeInfo& hidden, std::int64_t files, bool isHidden) {
  return std::to_string(all.allocatedBytes) + " " + std::to_string(all.logicalBytes) + " hidden " +
         std::to_string(hidden.allocatedBytes) + " " + std::to_string(hidden.logicalBytes) + " files " +
         std::to_string(files) + (isHidden ? " is hidden" : "");
}

// Lists every folder by plain recursion.
void listFolders(const FileManager& files, const FileURL& folder, bool isHidden,
                 std::map<std::string, std::string>& texts, SizeInfo& all, SizeInfo& hidden, std::int64_t& count) {
  for (const DirectoryEntry& entry : files.contentsOfDirectory(folder, HiddenItems::include)) {
    const bool isHiddenEntry = entry.url.lastPathComponent().starts_with('.');
    SizeInfo own;
    SizeInfo ownHidden;
    if (entry.type == FileType::regular) {
      own = files.requireFacts(entry.url, Links::doNotFollow).sizes;
      ++count;
    }
    if (entry.type == FileType::directory) {
      std::int64_t ofFolder = 0;
      listFolders(files, entry.url, isHiddenEntry, texts, own, ownHidden, ofFolder);
      count += ofFolder;
    }
    all += own;
    hidden += isHiddenEntry ? own : ownHidden;
  }
  texts[folder.path()] = recordText(all, hidden, count, isHidden);
}

std::map<std::string, std::string> recordedTexts(const RecordedFolders& folders) {
  std::map<std::string, std::string> texts;
  std::vector<std::string> paths;
  for (std::size_t i = 0; i < folders.size(); ++i) {
    const RecordedFolders::Record record = folders.at(i);
    const std::string parent = i == 0 ? "" : paths[record.parent];
    paths.push_back(i == 0 ? "/" : (parent == "/" ? "" : parent) + "/" + std::string(record.name));
    texts[paths.back()] = recordText(record.sizes, record.hiddenSizes, record.files, record.isHidden);
    EXPECT_EQ(folders.find(paths.back()), i);
  }
  return texts;
}

TEST_P(PartitionedScanProperty, ARecordedScanHasTheSameTotalsAndEveryFolderOfTheVolume) {
  for (unsigned seed = 0; seed < 25; ++seed) {
    const RandomVolume volume(seed, GetParam());
    RecordedFolders folders;
    const auto recorded = volume.dashboard().calculatePartitionedCategorySizes({}, Cancellation::never(), &folders);
    folders.finish();
    const auto plain = volume.dashboard().calculatePartitionedCategorySizes({}, Cancellation::never());
    ASSERT_EQ(textOf(recorded), textOf(plain)) << "seed " << seed;
    std::map<std::string, std::string> expected;
    SizeInfo all;
    SizeInfo hidden;
    std::int64_t count = 0;
    listFolders(volume.files(), FileURL("/"), /*isHidden=*/false, expected, all, hidden, count);
    ASSERT_EQ(recordedTexts(folders), expected) << "seed " << seed;
    EXPECT_EQ(folders.largeFiles().size(), static_cast<std::size_t>(count));
    EXPECT_EQ(folders.keptAbove(), -1);
  }
}

INSTANTIATE_TEST_SUITE_P(EachHome, PartitionedScanProperty,
                         ::testing::Values("/Users/ann", "/private/var/root", "/private/var/automount/home/ann"),
                         [](const auto& home) { return "Home" + std::to_string(home.index); });

}  // namespace
}  // namespace quarn::partitioned_scan_property_tests
