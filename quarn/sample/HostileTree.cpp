#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "QuarnBuilders/PlistWriter.h"
#include "QuarnPlatform/base/FileError.h"
#include "quarn/sample/HostileItems.h"

namespace quarn::sample {
namespace {

const std::string kHome = "/Users/ann";
constexpr std::string_view kOutside = "../../../../../../../../../../etc";
constexpr int kDeepest = 3'000;
constexpr std::size_t kLongestName = 255;
constexpr int kWide = 10'000;
constexpr int kFarm = 60;

// Folders that the program searches.
constexpr std::array<std::string_view, 8> kSearched{
    "/Applications",      "/Library/LaunchAgents",         "/Library/Extensions",  "/private/var/db/receipts",
    "/Users/ann/Library", "/Users/ann/Library/Containers", "/Users/ann/Documents", "/Users/ann/Library/Caches"};

std::string in(std::string_view folder, std::string_view name) { return std::string(folder) + "/" + std::string(name); }

// One that the file system does not take leaves the others.
void tryFile(const VolumeWriter& volume, const std::string& path) {
  try {
    volume.file(path, "x");
  } catch (const FileError&) {
    volume.folder(kHome);
  }
}

std::string repeatedUpTo(std::string_view text, std::size_t bytes) {
  std::string result;
  while (result.size() + text.size() <= bytes) result += text;
  return result;
}

}  // namespace

void writeLinks(const VolumeWriter& volume) {
  const std::string outside(kOutside);
  for (const std::string_view folder : kSearched) {
    volume.link(in(folder, "out.app"), outside);
    volume.link(in(folder, "out.plist"), outside + "/passwd");
    volume.link(in(folder, "absolute.plist"), "/etc/passwd");
    volume.link(in(folder, "kernel.kext"), "/proc/self/root");
    volume.link(in(folder, "root"), "/");
    volume.link(in(folder, "dangling.plist"), "nothing");
    volume.link(in(folder, "com.example.good.out"), outside);
  }
  volume.link("/chain/0", "/Users/ann/Documents/letter.txt");
  for (int i = 1; i <= 50; ++i) volume.link("/chain/" + std::to_string(i), std::to_string(i - 1));
  volume.link(kHome + "/Library/Caches/com.example.good.chain", "/chain/50");
  volume.link(kHome + "/Library/Group Containers", outside);
}

void writeLoops(const VolumeWriter& volume) {
  for (const std::string_view folder : kSearched) {
    volume.link(in(folder, "self.app"), "self.app");
    volume.link(in(folder, "one.plist"), "two.plist");
    volume.link(in(folder, "two.plist"), "one.plist");
    volume.link(in(folder, "here"), ".");
    volume.link(in(folder, "up"), "..");
  }
  for (int i = 0; i < 16; ++i) {
    volume.link("/Applications/Maze/a" + std::to_string(i), ".");
    volume.link("/Applications/Maze/b" + std::to_string(i), "../Maze");
  }
}

void writeSpecialFiles(const VolumeWriter& volume) {
  volume.fifo("/Applications/Pipe.app/Contents/Info.plist");
  volume.fifo("/Applications/Pipe.app/Contents/MacOS/Pipe");
  volume.fifo("/Library/LaunchAgents/com.example.pipe.plist");
  volume.socket("/Library/LaunchDaemons/com.example.socket.plist");
  volume.fifo("/private/var/db/receipts/com.example.pipe.bom");
  volume.file("/private/var/db/receipts/com.example.pipe.plist",
              xmlPlist(PlistDictionary{{"PackageIdentifier", "com.example.pipe"}}));
  volume.fifo(kHome + "/Library/Application Support/Steam/steamapps/libraryfolders.vdf");
  volume.socket(kHome + "/Library/Caches/com.example.good.socket");
  volume.fifo(kHome + "/Library/Preferences/com.example.good.plist");
}

// As large as the file system lets them be.
void writeSparseGiants(const VolumeWriter& volume) {
  constexpr std::array<std::int64_t, 3> kSizes{std::int64_t{1} << 62, std::int64_t{1} << 43, std::int64_t{1} << 33};
  for (const char* name : {"/Movies/giant 1.mov", "/Movies/giant 2.mov", "/Library/Caches/com.example.good/giant"}) {
    for (const std::int64_t size : kSizes) {
      try {
        volume.sparse(kHome + name, size);
        break;
      } catch (const FileError&) {
        volume.remove(kHome + name);
      }
    }
  }
  volume.sparse("/Applications/Giant.app/Contents/Info.plist", std::int64_t{1} << 33);
  volume.sparse("/private/var/db/receipts/com.example.giant.plist", std::int64_t{1} << 33);
}

void writeHardLinkFarms(const VolumeWriter& volume) {
  PlistArray arguments;
  for (int i = 0; i < 20'000; ++i) arguments.emplace_back("--argument-" + std::to_string(i));
  const std::string job = "/Library/LaunchDaemons/com.example.farm.0.plist";
  volume.file(job, binaryPlist(PlistDictionary{{"Label", "com.example.farm"}, {"ProgramArguments", arguments}}));
  const std::string info = "/Applications/Farm 0.app/Contents/Info.plist";
  const std::string note = std::string(1u << 20, 'n');
  volume.file(info, binaryPlist(PlistDictionary{{"CFBundleIdentifier", "com.example.farm"}, {"Note", note}}));
  for (int i = 1; i < kFarm; ++i) {
    const std::string number = std::to_string(i);
    volume.hardLink("/Library/LaunchDaemons/com.example.farm." + number + ".plist", job);
    volume.hardLink("/Applications/Farm " + number + ".app/Contents/Info.plist", info);
  }
}

void writeOddNames(const VolumeWriter& volume) {
  using namespace std::string_literals;
  const std::array names{"\x1B[31mred\x1B[0m"s,
                         "line\nbreak"s,
                         "tab\tand\rreturn"s,
                         "\xE2\x80\xAEgnp.exe"s,
                         "bad \xFF\xFE bytes"s,
                         "\xC3"s,
                         "-rf"s,
                         "--volume"s,
                         "%s%n%s"s,
                         "a\\b"s,
                         "\"quoted\""s,
                         "<script>alert(1)</script>"s,
                         "$(touch x)"s,
                         "`touch x`"s,
                         "~"s,
                         "..."s,
                         " "s,
                         "\xEF\xBB\xBFmark"s,
                         "\xF0\x9F\x92\xA9"s,
                         std::string(kLongestName, 'n')};
  for (const std::string& name : names) {
    std::string document = kHome + "/Documents/";
    document += name;
    tryFile(volume, document);
    tryFile(volume, kHome + "/Library/Caches/com.example.good." + name.substr(0, 200));
    tryFile(volume, "/Applications/" + name.substr(0, 240) + ".app/Contents/PkgInfo");
  }
  // Vowel signs of combining class zero that decompose to marks, and plain marks.
  tryFile(volume, kHome + "/Documents/" + repeatedUpTo("\xE0\xBD\xB3", kLongestName));
  tryFile(volume, kHome + "/Documents/" + repeatedUpTo("\xCC\x81\xCC\x96", kLongestName));
}

void writeDeepFolders(const VolumeWriter& volume) {
  std::string path = kHome + "/Documents";
  const std::string name = "/" + std::string(kLongestName, 'd');
  path.reserve(path.size() + kDeepest * name.size());
  for (int depth = 0; depth < kDeepest; ++depth) path += name;
  volume.folder(path);
}

void writeWideFolder(const VolumeWriter& volume) {
  for (int i = 0; i < kWide; ++i) volume.file(kHome + "/Downloads/" + std::to_string(i), "");
  for (int i = 0; i < kWide / 10; ++i) volume.folder(kHome + "/" + std::to_string(i));
}

void writeClosedItems(const VolumeWriter& volume) {
  volume.file(kHome + "/Library/Caches/com.example.good.closed/file", "x");
  volume.mode(kHome + "/Library/Caches/com.example.good.closed", 0);
  volume.file("/Library/LaunchAgents/com.example.closed.plist", "x", 0);
  volume.file("/Applications/Closed.app/Contents/Info.plist", "x", 0);
}

}  // namespace quarn::sample
