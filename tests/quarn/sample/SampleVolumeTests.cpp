#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "QuarnPlatform/base/FileError.h"
#include "quarn/sample/SampleVolume.h"
#include "tests/support/MacVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::sample_volume_tests {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

namespace fs = std::filesystem;

std::string bytesOf(const std::string& hostPath) {
  std::ifstream file(hostPath, std::ios::binary);
  std::string bytes(fs::file_size(hostPath), '\0');
  file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return bytes;
}

// A temporary host folder.
class SampleVolume : public ::testing::Test {
 protected:
  [[nodiscard]] std::string place(const std::string& name) const { return folder_.root() + "/" + name; }

  // The errno of writing a sample volume there; 0 on success.
  static int errorOfWriting(const std::string& folder) {
    try {
      (void)writeSampleVolume(folder);
    } catch (const FileError& error) {
      EXPECT_THAT(error.what(), StartsWith(error.operation() + " "));
      return error.error();
    }
    return 0;
  }

  MacVolume folder_;
};

// One volume for all tests that only read it, written into an empty folder.
class WrittenSampleVolume : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    holder_ = std::make_unique<MacVolume>();
    holder_->folder("/sample").mode("/sample", 0750);
    summary_ = writeSampleVolume(holder_->root() + "/sample");
  }
  static void TearDownTestSuite() { holder_.reset(); }

  static std::string host(std::string path) {
    if (path.starts_with("~/")) path = "/Users/ann" + path.substr(1);
    return summary_.folder + path;
  }

  static bool isThere(const std::string& path) {
    struct stat status {};
    return ::lstat(host(path).c_str(), &status) == 0;
  }

  static struct stat statusOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(host(path).c_str(), &status), 0) << path;
    return status;
  }

  static inline std::unique_ptr<MacVolume> holder_;
  static inline SampleSummary summary_;
};

// The properties of every item: type, mode, length, time, link target.
std::map<std::string, std::string> inventory(const std::string& root) {
  std::map<std::string, std::string> items;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root)) {
    struct stat status {};
    EXPECT_EQ(::lstat(entry.path().c_str(), &status), 0);
    std::string facts = std::to_string(status.st_mode) + " " + std::to_string(status.st_mtime);
    if (!S_ISLNK(status.st_mode)) {
      const auto modified = fs::last_write_time(entry).time_since_epoch();
      facts += " " + std::to_string(std::chrono::duration_cast<std::chrono::nanoseconds>(modified).count());
    }
    if (S_ISREG(status.st_mode)) facts += " " + std::to_string(status.st_size) + " " + std::to_string(status.st_nlink);
    if (S_ISLNK(status.st_mode)) facts += " " + fs::read_symlink(entry.path()).string();
    items[entry.path().string().substr(root.size())] = facts;
  }
  return items;
}

TEST_F(SampleVolume, ANonEmptyFolderIsRefusedAndUnchanged) {
  folder_.text("/full/.hidden", "mine");
  EXPECT_EQ(errorOfWriting(place("full")), ENOTEMPTY);
  EXPECT_EQ(inventory(place("full")).size(), 1U);
}

TEST_F(SampleVolume, TheRefusalNamesTheFolder) {
  folder_.file("/full/a");
  try {
    (void)writeSampleVolume(place("full"));
    FAIL() << "wrote into a folder that is not empty";
  } catch (const FileError& error) {
    EXPECT_EQ(error.what(), "write a sample volume to " + place("full") + ": Directory not empty");
  }
}

TEST_F(SampleVolume, APathThatIsNotAFolderIsRefused) {
  folder_.text("/file", "mine").link("/dangling", "missing").folder("/there");
  EXPECT_EQ(errorOfWriting(place("file")), ENOTDIR);
  EXPECT_EQ(errorOfWriting(place("missing/inner")), ENOENT);
  EXPECT_EQ(errorOfWriting(place("dangling")), ENOENT);
  EXPECT_EQ(errorOfWriting(""), ENOENT);
  EXPECT_FALSE(fs::exists(place("missing")));
}

TEST_F(SampleVolume, AnUnwritableFolderIsRefused) {
  folder_.folder("/closed").mode("/closed", 0555);
  const UnprivilegedUser user;
  EXPECT_EQ(errorOfWriting(place("closed/sample")), EACCES);
}

TEST_F(SampleVolume, AnUnwritableEmptyFolderStaysEmpty) {
  folder_.folder("/closed").mode("/closed", 0555);
  {
    const UnprivilegedUser user;
    EXPECT_EQ(errorOfWriting(place("closed")), EACCES);
  }
  EXPECT_TRUE(fs::is_empty(place("closed")));
}

// Limits the file size below that of the largest files, so that writing fails half-way.
class FileSizeLimit {
 public:
  FileSizeLimit() : before_(std::signal(SIGXFSZ, SIG_IGN)) {
    ::getrlimit(RLIMIT_FSIZE, &limit_);
    rlimit small = limit_;
    small.rlim_cur = 4'000'000;
    ::setrlimit(RLIMIT_FSIZE, &small);
  }
  ~FileSizeLimit() {
    ::setrlimit(RLIMIT_FSIZE, &limit_);
    std::signal(SIGXFSZ, before_);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  void (*before_)(int);
  rlimit limit_{};
};

TEST_F(SampleVolume, AFailedWriteRemovesEverything) {
  folder_.folder("/empty");
  {
    const FileSizeLimit limit;
    EXPECT_EQ(errorOfWriting(place("new")), EFBIG);
    EXPECT_EQ(errorOfWriting(place("empty")), EFBIG);
  }
  EXPECT_FALSE(fs::exists(place("new")));
  EXPECT_TRUE(fs::is_empty(place("empty")));
}

TEST_F(SampleVolume, TwoWritesAreIdentical) {
  const SampleSummary first = writeSampleVolume(place("first"));
  const mode_t before = ::umask(0077);
  SampleSummary second = writeSampleVolume(place("second"));
  ::umask(before);
  const std::map<std::string, std::string> items = inventory(first.folder);
  EXPECT_EQ(items, inventory(second.folder));
  for (const auto& [path, facts] : items) {
    struct stat status {};
    ::lstat((first.folder + path).c_str(), &status);
    if (!S_ISREG(status.st_mode) || status.st_blocks == 0) continue;
    EXPECT_TRUE(bytesOf(first.folder + path) == bytesOf(second.folder + path)) << path;
  }
  second.folder = first.folder;
  EXPECT_EQ(first, second);
}

TEST_F(WrittenSampleVolume, AnEmptyFolderIsFilledAndKeepsItsMode) {
  EXPECT_EQ(summary_.folder, holder_->root() + "/sample");
  EXPECT_TRUE(isThere("/Applications/Example.app"));
  EXPECT_EQ(statusOf("").st_mode & 07777, 0750U);
}

TEST_F(WrittenSampleVolume, TheSummaryCountsTheItems) {
  std::int64_t files = 0;
  std::int64_t folders = 0;
  std::int64_t links = 0;
  std::map<ino_t, std::int64_t> lengths;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(summary_.folder)) {
    struct stat status {};
    ::lstat(entry.path().c_str(), &status);
    files += S_ISREG(status.st_mode) ? 1 : 0;
    folders += S_ISDIR(status.st_mode) ? 1 : 0;
    links += S_ISLNK(status.st_mode) ? 1 : 0;
    if (S_ISREG(status.st_mode)) lengths[status.st_ino] = status.st_size;
  }
  std::int64_t bytes = 0;
  for (const auto& [inode, length] : lengths) bytes += length;
  EXPECT_EQ(summary_.files, files);
  EXPECT_EQ(summary_.folders, folders);
  EXPECT_EQ(summary_.links, links);
  EXPECT_EQ(summary_.logicalBytes, bytes);
  EXPECT_EQ(summary_.home, "/Users/ann");
}

TEST_F(WrittenSampleVolume, TakesLessThanSixtyMegabytesAndHasHundredsOfGigabytesOfLength) {
  std::map<ino_t, std::int64_t> allocated;
  std::int64_t items = 0;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(summary_.folder)) {
    struct stat status {};
    ::lstat(entry.path().c_str(), &status);
    allocated[status.st_ino] = status.st_blocks * 512;
    ++items;
  }
  std::int64_t bytes = 0;
  for (const auto& [inode, size] : allocated) bytes += size;
  EXPECT_LT(bytes, 60'000'000);
  EXPECT_LT(items, 4'000);
  EXPECT_GT(summary_.logicalBytes, 300'000'000'000);
}

TEST_F(WrittenSampleVolume, AtLeastTwentyFiveAppsAreInAppFolders) {
  std::int64_t bundles = 0;
  for (const char* folder :
       {"/Applications", "/System/Applications", "/System/Library/CoreServices/Applications", "~/Applications"}) {
    auto entry = fs::recursive_directory_iterator(host(folder));
    for (; entry != fs::recursive_directory_iterator(); ++entry) {
      if (entry->path().extension() != ".app" || entry->is_symlink()) continue;
      ++bundles;
      entry.disable_recursion_pending();
    }
  }
  EXPECT_GE(bundles, 25);
  EXPECT_GE(summary_.apps, bundles - 1);  // the vendor's uninstaller beside its app is no app of the table
}

// Some app has items in every location of the searches.
TEST_F(WrittenSampleVolume, SomeAppHasItemsInEveryStandardLocation) {
  // clang-format off
  constexpr std::array<const char*, 26> kPaths{
      // of the user
      "~/Library/Caches/com.lumenworks.notes",
      "~/Library/Logs/com.lumenworks.notes",
      "~/Library/Preferences/com.lumenworks.notes.plist",
      "~/Library/Preferences/ByHost/com.lumenworks.notes.0A1B2C3D-0000-4000-8000-5E6F70819203.plist",
      "~/Library/Saved Application State/com.lumenworks.notes.savedState",
      "~/Library/Containers/com.lumenworks.notes",
      "~/Library/Application Scripts/com.lumenworks.notes",
      "~/Library/HTTPStorages/com.lumenworks.notes",
      "~/Library/Application Support/Lumen Notes",
      "~/Library/Application Support/com.lumenworks.notes",
      "~/Library/LaunchAgents/com.lumenworks.notes.agent.plist",
      // of the system
      "/Library/Caches/com.lumenworks.notes",
      "/Library/Logs/com.lumenworks.notes",
      "/Library/Preferences/com.lumenworks.notes.plist",
      "/Library/Application Support/Lumen Notes",
      "/Library/Application Support/com.lumenworks.notes",
      // shared by a vendor's apps
      "~/Library/Application Support/Adobe",
      "~/Library/Application Support/Microsoft",
      "~/Library/Group Containers/9KXQ2T7WBA.shared-store",
      // found by similar names
      "~/Library/Application Support/com.lumenworks.notes.thumbnailer",
      "~/Library/Caches/LumenNotes",
      "~/Library/Logs/Lum\u00E9n Notes",
      "~/Library/HTTPStorages/com.lumenworks.notes.binarycookies",
      "/Library/Application Support/Lumenworks/com.lumenworks.notes.plugins",
      "/Library/Caches/com.lumenworks.notes.updater",
      "/Library/Logs/Lumenworks/com.lumenworks.notes.daemon.log",
  };
  // clang-format on
  for (const char* path : kPaths) EXPECT_TRUE(isThere(path)) << path;
}

TEST_F(WrittenSampleVolume, EveryBuiltInLocationOfTheEcosystemsExists) {
  // clang-format off
  constexpr std::array<const char*, 20> kPaths{
      "~/Library/Application Support/Microsoft",
      "~/Library/Group Containers/UBF8T346G9.Office",
      "~/Library/Group Containers/UBF8T346G9.ms",
      "~/Library/Group Containers/UBF8T346G9.OfficeOsfWebHost",
      "~/Library/Application Support/Microsoft/Teams",
      "~/Library/Caches/com.microsoft.teams",
      "~/Library/Group Containers/UBF8T346G9.com.microsoft.teams",
      "~/Library/Containers/com.microsoft.teams2",
      "~/Library/Application Support/OneDrive",
      "~/Library/CloudStorage/OneDrive-Personal",
      "~/Library/CloudStorage/.onedrive-temp",
      "/Volumes/.ODContainer-OneDrive",
      "~/Library/Group Containers/UBF8T346G9.Office/Outlook",
      "~/Library/Caches/com.microsoft.Outlook",
      "~/Library/Application Support/Adobe",
      "~/Library/Caches/Adobe",
      "/Library/Application Support/Adobe/OOBE",
      "~/Library/Mail",
      "~/Library/Containers/com.apple.mail/Data/Library/Caches",
      "~/Library/Containers/com.apple.mail/Data/Library/Mail Downloads",
  };
  // clang-format on
  for (const char* path : kPaths) EXPECT_TRUE(S_ISDIR(statusOf(path).st_mode)) << path;
}

TEST_F(WrittenSampleVolume, EveryFixedStorageRootExists) {
  // clang-format off
  const std::vector<std::string> paths{
      "/Applications", "/System/Applications", "/System/Library/CoreServices/Applications", "~/Applications",
      "~/Desktop", "~/Documents", "~/Downloads", "~/Public", "~/Library/Mobile Documents/com~apple~CloudDocs/Downloads",
      "~/Library/Mobile Documents/com~apple~CloudDocs/Documents", "~/Library/Mobile Documents/com~apple~CloudDocs/Desktop",
      "~/Pictures", "~/Movies", "~/Music", "/Library/Application Support/GarageBand", "/Library/Application Support/Logic",
      "~/Library/Mail", "~/Library/Messages", "~/Library/Application Support/Slack",
      "~/Library/Application Support/Microsoft/Teams", "~/Library/Application Support/WhatsApp",
      "~/Library/Application Support/Signal", "~/Library/Application Support/Telegram Desktop",
      "~/Library/Application Support/Thunderbird", "~/Library/Application Support/Discord", "~/Library/Thunderbird",
      "~/Library/Containers/com.apple.mail", "~/Library/Containers/com.apple.iChat",
      "~/Library/Containers/com.tinyspeck.slackmacgap", "~/Library/Containers/com.microsoft.teams",
      "~/Library/Containers/com.whatsapp.WhatsApp", "~/Library/Containers/WhatsApp",
      "~/Library/Containers/org.whispersystems.Signal", "~/Library/Containers/ru.keepcoder.Telegram",
      "~/Library/Containers/org.mozilla.thunderbird", "~/Library/Group Containers/group.com.apple.mail",
      "~/Library/Group Containers/group.com.apple.messages", "~/Library/Group Containers/group.com.microsoft.teams",
      "~/Library/Group Containers/group.com.tinyspeck.slackmacgap", "~/Games",
      "~/Library/Application Support/Steam/steamapps", "/Users/Shared/Steam/steamapps", "~/Library/Developer",
      "~/Library/Application Support/Code", "~/Library/Application Support/Code - Insiders",
      "~/Library/Application Support/JetBrains", "~/Library/Caches/JetBrains",
      "~/Library/Application Support/Google/AndroidStudio", "~/Library/Caches/Google/AndroidStudio", "~/.vscode/extensions",
      "~/.vscode-insiders/extensions", "~/.gradle", "~/.m2", "~/.android", "~/.npm", "~/.cargo", "~/.rustup", "~/.pub-cache",
      "~/.composer", "~/.cocoapods", "~/Library/Caches/org.swift.swiftpm", "~/Library/Caches/CocoaPods",
      "~/Library/Caches/Homebrew", "~/Library/Caches/org.carthage.CarthageKit", "~/Library/Caches/org.carthage.Carthage",
      "~/Library/Application Support/Carthage", "~/Library/Containers/com.docker.docker",
      "~/Library/Application Support/Docker Desktop", "/Library/Developer", "/usr/local", "/opt/homebrew", "~/.Trash",
      "/private/var", "/usr", "/Users/Shared", "/Users/bob"};
  // clang-format on
  for (const std::string& path : paths) {
    EXPECT_TRUE(isThere(path) && !fs::is_empty(host(path))) << path;
  }
}

TEST_F(WrittenSampleVolume, NearMissesExistBesideTheMatches) {
  // clang-format off
  constexpr std::array<const char*, 13> kPaths{
      "~/Library/Preferences/Com.example.App.plist", "~/Library/Preferences/com.example.App.PLIST",
      "~/Library/Preferences/com.example.AppX.plist", "~/Library/Caches/com.lumenworks.note",
      "~/Library/Application Support/.com.lumenworks.notes", "~/Library/Application Support/Toolbox.bundle/com.lumenworks.notes",
      "~/Library/Application Support/a/b/c/d/e/f/com.lumenworks.notes", "~/Documents/Memo", "~/Documents/Memories",
      "~/Library/CloudStorage/OneDrive readme.txt", "~/Library/CloudStorage/OneDrive link", "/Volumes/.ODContainer file",
      "/Applications/Fathom/Clean Up notes.txt"};
  // clang-format on
  for (const char* path : kPaths) EXPECT_TRUE(isThere(path)) << path;
}

TEST_F(WrittenSampleVolume, ThereAreLinksOfEveryKind) {
  struct Row {
    const char* path;
    const char* target;
    bool leadsSomewhere;
  };
  // clang-format off
  constexpr std::array<Row, 7> kRows{{
      {"~/Documents/Links/to a file",   "../Letters/Landlord.pages", true},
      {"~/Documents/Links/to a folder", "../Thesis",                 true},
      {"~/Documents/Links/to nothing",  "../Letters/Lost.pages",     false},
      {"~/Documents/Links/ping",        "pong",                      false},
      {"~/Documents/Links/itself",      "itself",                    false},
      {"~/Documents/Links/up",          "..",                        true},
      {"/tmp",                          "private/tmp",               true},
  }};
  // clang-format on
  for (const Row& row : kRows) {
    EXPECT_EQ(fs::read_symlink(host(row.path)), row.target);
    std::error_code error;
    EXPECT_EQ(fs::exists(host(row.path), error), row.leadsSomewhere) << row.path;
  }
  EXPECT_THAT(fs::read_symlink(host("~/Documents/Links/out")).string(), HasSubstr("../../../../.."));
  EXPECT_EQ(fs::read_symlink(host("~/Documents/Links/absolute")), "/Users/Shared/Family");
}

TEST_F(WrittenSampleVolume, HardLinksShareOneFileAndSparseFilesTakeNoSpace) {
  const struct stat original = statusOf("~/Documents/Hard links/original.bin");
  EXPECT_EQ(original.st_nlink, 3U);
  EXPECT_EQ(original.st_ino, statusOf("/Users/Shared/third name.bin").st_ino);
  const struct stat disk = statusOf("~/Library/Containers/com.docker.docker/Data/vms/0/data/Docker.raw");
  EXPECT_EQ(disk.st_size, 64'000'000'000);
  EXPECT_EQ(disk.st_blocks, 0);
}

TEST_F(WrittenSampleVolume, ThereAreNamesOfEveryKind) {
  // clang-format off
  const std::vector<std::string> names{
      "Caf\u00E9 composed.txt", "Cafe\u0301 decomposed.txt", "\u65E5\u672C\u8A9E\u306E\u66F8\u985E.txt", "two\nlines.txt",
      "red \x1B[31malarm\x1B[0m.txt", "not \xFF\xFE text.txt", "gpj.\u202Eexe", "<img src=x onerror=alert(1)>.txt"};
  // clang-format on
  for (const std::string& name : names) EXPECT_TRUE(isThere("~/Documents/Names/" + name)) << name;
}

TEST_F(WrittenSampleVolume, ThereAreAppsOfEveryLayout) {
  EXPECT_THAT(bytesOf(host("/Applications/Example.app/Contents/Info.plist")), StartsWith("<?xml"));
  EXPECT_THAT(bytesOf(host("/Applications/Example.app/Contents/Info.plist")), HasSubstr("</plist>"));
  EXPECT_THAT(bytesOf(host("/Applications/Quill & Ink.app/Contents/Info.plist")), StartsWith("bplist00"));
  EXPECT_THAT(bytesOf(host("/Applications/Broken List.app/Contents/Info.plist")),
              ::testing::Not(HasSubstr("</plist>")));
  EXPECT_FALSE(isThere("/Applications/No List.app/Contents/Info.plist"));
  EXPECT_TRUE(isThere("/Applications/No List.app/Contents/MacOS/No List"));
  EXPECT_TRUE(isThere("/Applications/Old Days.app/Resources/Info.plist"));
  EXPECT_TRUE(isThere("/Applications/Older Days.app/Support Files/Info.plist"));
  EXPECT_EQ(fs::read_symlink(host("/Applications/Voyage.app/WrappedBundle")), "Wrapper/Voyage.app");
  EXPECT_TRUE(isThere("/Applications/Voyage.app/WrappedBundle/Info.plist"));
  EXPECT_EQ(statusOf("/Applications/Example.app/Contents/MacOS/Example").st_mode & 07777, 0755U);
}

TEST_F(WrittenSampleVolume, ASignatureNamesAGroupWithoutOtherEvidence) {
  const std::string program = bytesOf(host("/Applications/Lumen Notes.app/Contents/MacOS/Lumen Notes"));
  EXPECT_THAT(program, HasSubstr("9KXQ2T7WBA.shared-store"));
  EXPECT_THAT(program, StartsWith("\xCA\xFE\xBA\xBE"));
}

TEST_F(WrittenSampleVolume, ReceiptsHaveBills) {
  const std::string folder = "/private/var/db/receipts/";
  EXPECT_THAT(bytesOf(host(folder + "com.harboraudio.suite.pkg.bom")), StartsWith("BOMStore"));
  EXPECT_THAT(bytesOf(host(folder + "com.harboraudio.suite.pkg.bom")), HasSubstr("Harbor Reverb.component"));
  EXPECT_THAT(bytesOf(host(folder + "com.harboraudio.suite.pkg.plist")),
              HasSubstr("<string>com.harboraudio.suite.pkg</string>"));
  EXPECT_TRUE(isThere(folder + "com.kestrelsoft.kestrel.maps.plist"));
  EXPECT_FALSE(isThere(folder + "com.kestrelsoft.kestrel.maps.bom"));
  EXPECT_THAT(bytesOf(host(folder + "com.tessera.everything.bom")), HasSubstr("TesseraAudio.kext"));
}

TEST_F(WrittenSampleVolume, EverythingIsReadable) {
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(summary_.folder)) {
    if (entry.is_symlink()) continue;
    EXPECT_NE(entry.symlink_status().permissions() & fs::perms::others_read, fs::perms::none) << entry.path();
  }
}

}  // namespace
}  // namespace quarn::sample_volume_tests
