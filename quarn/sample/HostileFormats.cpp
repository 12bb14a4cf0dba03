#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "QuarnBuilders/BomBuilder.h"
#include "QuarnBuilders/MachOBuilder.h"
#include "QuarnBuilders/PlistWriter.h"
#include "quarn/sample/HostileItems.h"

namespace quarn::sample {
namespace {

constexpr std::size_t kMegabyte = std::size_t{1} << 20;
constexpr std::string_view kPlistHead = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">";

const std::string kHostileJobs = "/Library/LaunchAgents/com.example.";
const std::string kHostileReceipts = "/private/var/db/receipts/com.example.";

std::string repeated(std::string_view text, std::size_t count) {
  std::string result;
  result.reserve(text.size() * count);
  for (std::size_t i = 0; i < count; ++i) result += text;
  return result;
}

void appendBigEndian(std::string& bytes, std::uint64_t value, int count) {
  for (int shift = 8 * (count - 1); shift >= 0; shift -= 8) bytes += static_cast<char>(value >> shift & 0xFF);
}

// A binary list of arrays that each refer to the next one twice: 2 to the power of `depth` values in few bytes.
std::string sharedReferences(int depth) {
  std::string bytes = "bplist00";
  std::string offsets;
  for (int i = 0; i < depth; ++i) {
    appendBigEndian(offsets, bytes.size(), 2);
    bytes += '\xA2';
    appendBigEndian(bytes, static_cast<std::uint64_t>(i) + 1, 1);
    appendBigEndian(bytes, static_cast<std::uint64_t>(i) + 1, 1);
  }
  appendBigEndian(offsets, bytes.size(), 2);
  bytes += '\x08';
  const std::uint64_t table = bytes.size();
  bytes += offsets + std::string(6, '\0') + "\x02\x01";
  appendBigEndian(bytes, static_cast<std::uint64_t>(depth) + 1, 8);
  appendBigEndian(bytes, 0, 8);
  appendBigEndian(bytes, table, 8);
  return bytes;
}

std::string entityBomb() {
  std::string text = "<?xml version=\"1.0\"?><!DOCTYPE plist [<!ENTITY a0 \"aaaaaaaaaa\">";
  for (int i = 1; i < 10; ++i) {
    const std::string inner = "&a" + std::to_string(i - 1) + ";";
    text += "<!ENTITY a" + std::to_string(i) + " \"" + repeated(inner, 10) + "\">";
  }
  return text + "]><plist><dict><key>Label</key><string>&a9;</string></dict></plist>";
}

void receipt(const VolumeWriter& volume, const std::string& name, const std::string& bill) {
  volume.file(kHostileReceipts + name + ".plist",
              xmlPlist(PlistDictionary{{"PackageIdentifier", "com.example." + name}}));
  volume.file(kHostileReceipts + name + ".bom", bill);
}

void app(const VolumeWriter& volume, const std::string& name, const std::string& program) {
  const std::string contents = "/Applications/" + name + ".app/Contents/";
  volume.file(contents + "Info.plist", xmlPlist(PlistDictionary{{"CFBundleIdentifier", "com.example." + name}}));
  volume.file(contents + "MacOS/" + name, program, 0755);
}

}  // namespace

void writePropertyListBombs(const VolumeWriter& volume) {
  const std::string head(kPlistHead);
  const std::array<std::pair<const char*, std::string>, 9> bombs{{
      {"nested", head + repeated("<array>", 100'000)},
      {"nested-closed", head + repeated("<array>", 20'000) + repeated("</array>", 20'000) + "</plist>"},
      {"entities", entityBomb()},
      {"external", "<!DOCTYPE plist [<!ENTITY x SYSTEM \"file:///etc/passwd\">]><plist><string>&x;</string></plist>"},
      {"shared", sharedReferences(200)},
      {"cut", binaryPlist(PlistDictionary{{"Label", std::string(1000, 'x')}}).substr(0, 500)},
      {"offsets", "bplist00" + std::string(1000, '\xFF')},
      {"keys", head + "<dict>" + repeated("<key>k</key><true/>", 50'000) + "</dict></plist>"},
      {"nothing", ""},
  }};
  for (const auto& [name, bytes] : bombs) {
    volume.file(kHostileJobs + name + ".plist", bytes);
    volume.file("/Applications/Bomb " + std::string(name) + ".app/Contents/Info.plist", bytes);
    volume.file(kHostileReceipts + name + ".plist", bytes);
  }
}

void writeLongTexts(const VolumeWriter& volume) {
  const std::string marks = repeated("\xE0\xBD\xB3", kMegabyte / 8);
  const std::array<std::pair<const char*, std::string>, 3> texts{
      {{"long", std::string(kMegabyte, 'l')}, {"marks", "a" + marks}, {"slashes", std::string(20'000, '/')}}};
  for (const auto& [name, text] : texts) {
    volume.file(kHostileJobs + name + ".plist", binaryPlist(PlistDictionary{{"Label", text}, {"Program", text}}));
    volume.file("/Applications/Text " + std::string(name) + ".app/Contents/Info.plist",
                binaryPlist(PlistDictionary{{"CFBundleIdentifier", text}, {"CFBundleName", text}}));
    volume.file(kHostileReceipts + name + ".plist",
                binaryPlist(PlistDictionary{{"PackageIdentifier", text}, {"InstallPrefixPath", text}}));
    volume.file(kHostileReceipts + name + "-place.plist",
                binaryPlist(PlistDictionary{{"PackageIdentifier", "com.example.place"}, {"InstallPrefixPath", text}}));
  }
}

void writeBillBombs(const VolumeWriter& volume) {
  BomBuilder longPaths;
  std::string folder = ".";
  for (int i = 0; i < 120; ++i) folder += "/" + std::string(250, 'p');
  for (int i = 0; i < 8'000; ++i) longPaths.file(folder + "/" + std::to_string(i));
  receipt(volume, "long-paths", longPaths.bytes());
  BomBuilder cycle;
  cycle.entry(10, 11, "a", cycle.directoryRecord()).entry(11, 10, "b", cycle.directoryRecord());
  cycle.entry(12, 12, "c", cycle.fileRecord()).entry(13, 99, "..", cycle.fileRecord());
  receipt(volume, "cycle", cycle.bytes());
  const std::string bill = BomBuilder().file("./a/b").bytes();
  receipt(volume, "cut", bill.substr(0, bill.size() / 2));
  receipt(volume, "count", "BOMStore" + std::string(500, '\xFF'));
}

void writeBillOfLinks(const VolumeWriter& volume) {
  constexpr int kLinks = 1'000;
  for (int i = 0; i < 300; ++i) volume.file("/opt/big/inner/" + std::to_string(i), "x");
  BomBuilder bill;
  for (int i = 0; i < kLinks; ++i) {
    const std::string link = "opt/l" + std::to_string(i);
    volume.link("/" + link, "big");
    bill.file("./" + link + "/inner");
  }
  bill.directory("./Applications/Good.app");
  volume.file(kHostileReceipts + "good.plist", xmlPlist(PlistDictionary{{"PackageIdentifier", "com.example.good"}}));
  volume.file(kHostileReceipts + "good.bom", bill.bytes());
}

void writeProgramBombs(const VolumeWriter& volume) {
  PlistDictionary many;
  for (int i = 0; i < 2'000; ++i) many.emplace_back("com.example.entitlement." + std::to_string(i), true);
  const std::string bloated = signedMachO({.groups = {"group.example"}, .entitlements = many});
  app(volume, "Bloated", bloated);
  for (int i = 1; i < 20; ++i) {
    const std::string name = "Bloated " + std::to_string(i);
    volume.file("/Applications/" + name + ".app/Contents/Info.plist", "");
    std::string program = "/Applications/" + name + ".app/Contents/MacOS/";
    program += name;
    volume.hardLink(program, "/Applications/Bloated.app/Contents/MacOS/Bloated");
  }
  app(volume, "Groups", signedMachO({.groups = {"../../outside", "/etc", "", std::string(kMegabyte, 'g')}}));
  app(volume, "Slices", "\xCA\xFE\xBA\xBE" + std::string(4096, '\xFF'));
  app(volume, "Cut", bloated.substr(0, bloated.size() / 3));
  app(volume, "Blobs", machO(kArm64, signatureBlob(0xFADE0CC0, std::string(5000, '\xFF'))));
  app(volume, "Nested",
      machO(kArm64, signatureOfBlobs({{7, signatureBlob(0xFADE7172, repeated("\x30\x80", 50'000))}})));
}

void writeGameListBombs(const VolumeWriter& volume) {
  const std::string steam = "/Users/ann/Library/Application Support/Steam/steamapps";
  const std::string shared = "/Users/Shared/Steam/steamapps";
  volume.file(shared + "/libraryfolders.vdf", "\"libraryfolders\"" + repeated("{\"0\"", 200'000));
  volume.file("/Users/ann/Library/Application Support/Steam/config/libraryfolders.vdf",
              "\"libraryfolders\"{\"0\"{\"path\" \"../../../../../../etc\"}\"1\"{\"path\" \"/\"}}");
  volume.folder(steam);
}

}  // namespace quarn::sample
