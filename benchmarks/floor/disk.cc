// disk: the disk's own limit for "look up every item below a folder", on ext4.
//   disk list DIR DEVICE > RANGES         the blocks of DEVICE that hold the inodes and the folders below DIR, in their order on the
//                                         disk; DEVICE is mounted at or above DIR
//   disk read DEVICE RANGES [threads=N]   reads them, past the system's caches
// No program can look up these items from cold caches and read less. Both need root.
#include "common.h"
#include <atomic>
#include <ftw.h>
#include <linux/fiemap.h>
#include <linux/fs.h>
#include <set>
#include <string>
#include <sys/ioctl.h>
#include <thread>
#include <vector>

namespace {

constexpr uint64_t kReadThrough = 64 << 10;  // a gap that is not larger is read too: a request costs more
constexpr uint64_t kLargestRead = 1 << 20;
constexpr size_t kAlignment = 4096;

[[noreturn]] void fail(const char* what) {
  fprintf(stderr, "disk: %s: %s\n", what, strerror(errno));
  exit(1);
}

[[noreturn]] void refuse(const char* why) {
  fprintf(stderr, "disk: %s\n", why);
  exit(1);
}

// The part of ext4's superblock and group descriptors that tells where an inode is.
class InodeTables {
 public:
  explicit InodeTables(int device) {
    uint8_t super[1024];
    if (pread(device, super, sizeof super, 1024) != sizeof super) fail("superblock");
    if (number<uint16_t>(super, 56) != 0xEF53) refuse("not ext4");
    const uint32_t features = number<uint32_t>(super, 96);
    if (features & 0x10) refuse("ext4 with meta block groups is not supported");
    blockBytes_ = 1024u << number<uint32_t>(super, 24);
    inodesInGroup_ = number<uint32_t>(super, 40);
    inodeBytes_ = number<uint16_t>(super, 88);
    const bool isWide = features & 0x80;
    const uint64_t descriptorBytes = isWide ? number<uint16_t>(super, 254) : 32;
    const uint64_t groups = (number<uint32_t>(super, 0) + inodesInGroup_ - 1) / inodesInGroup_;
    std::vector<uint8_t> descriptors(groups * descriptorBytes);
    const uint64_t at = (number<uint32_t>(super, 20) + 1ull) * blockBytes_;
    if (pread(device, descriptors.data(), descriptors.size(), (off_t)at) != (ssize_t)descriptors.size()) fail("group descriptors");
    for (uint64_t group = 0; group < groups; ++group) {
      const uint8_t* descriptor = descriptors.data() + group * descriptorBytes;
      const uint64_t high = isWide ? number<uint32_t>(descriptor, 40) : 0;
      tables_.push_back(high << 32 | number<uint32_t>(descriptor, 8));
    }
  }

  uint64_t blockBytes() const { return blockBytes_; }
  uint64_t blockOf(uint64_t inode) const {
    const uint64_t index = (inode - 1) % inodesInGroup_;
    return tables_.at((inode - 1) / inodesInGroup_) + index * inodeBytes_ / blockBytes_;
  }

 private:
  template <class Number> static Number number(const uint8_t* bytes, size_t at) {
    Number value;
    memcpy(&value, bytes + at, sizeof value);
    return value;
  }

  uint64_t blockBytes_, inodesInGroup_, inodeBytes_;
  std::vector<uint64_t> tables_;
};

const InodeTables* g_tables;
std::set<uint64_t> g_blocks;
uint64_t g_items;

void addFolderBlocks(const char* path) {
  const int folder = open(path, O_RDONLY | O_DIRECTORY);
  if (folder < 0) fail(path);
  union {
    fiemap map;
    char space[sizeof(fiemap) + 512 * sizeof(fiemap_extent)];
  } extents;
  for (uint64_t from = 0;;) {
    memset(&extents.map, 0, sizeof(fiemap));
    extents.map.fm_start = from;
    extents.map.fm_length = FIEMAP_MAX_OFFSET - from;
    extents.map.fm_extent_count = 512;
    if (ioctl(folder, FS_IOC_FIEMAP, &extents.map) != 0) fail(path);
    bool isLast = extents.map.fm_mapped_extents == 0;
    for (unsigned i = 0; i < extents.map.fm_mapped_extents; ++i) {
      const fiemap_extent& extent = extents.map.fm_extents[i];
      for (uint64_t byte = 0; byte < extent.fe_length; byte += g_tables->blockBytes())
        g_blocks.insert((extent.fe_physical + byte) / g_tables->blockBytes());
      from = extent.fe_logical + extent.fe_length;
      isLast = isLast || (extent.fe_flags & FIEMAP_EXTENT_LAST);
    }
    if (isLast) break;
  }
  close(folder);
}

int addItem(const char* path, const struct stat* facts, int type, FTW*) {
  if (type == FTW_NS || type == FTW_DNR) fail(path);
  ++g_items;
  g_blocks.insert(g_tables->blockOf(facts->st_ino));
  if (type == FTW_D) addFolderBlocks(path);
  return 0;
}

void list(const char* folder, const char* devicePath) {
  const int device = open(devicePath, O_RDONLY);
  if (device < 0) fail(devicePath);
  struct stat ofFolder, ofDevice;
  if (stat(folder, &ofFolder) != 0 || fstat(device, &ofDevice) != 0) fail(folder);
  if (ofFolder.st_dev != ofDevice.st_rdev) refuse("the folder is not on this device");
  const InodeTables tables(device);
  g_tables = &tables;
  if (nftw(folder, addItem, 64, FTW_PHYS | FTW_MOUNT) != 0) fail(folder);
  uint64_t from = 0, to = 0;
  const auto print = [&] { if (to > from) printf("%llu %llu\n", (unsigned long long)from, (unsigned long long)(to - from)); };
  for (const uint64_t block : g_blocks) {
    const uint64_t start = block * tables.blockBytes();
    if (start > to + kReadThrough || start + tables.blockBytes() - from > kLargestRead) {
      print();
      from = start;
    }
    to = start + tables.blockBytes();
  }
  print();
  fprintf(stderr, "items=%llu blocks=%zu\n", (unsigned long long)g_items, g_blocks.size());
}

struct Range { uint64_t from, bytes; };

void read(const char* devicePath, const char* rangesPath, int threads) {
  std::vector<Range> ranges;
  FILE* file = fopen(rangesPath, "r");
  if (!file) fail(rangesPath);
  unsigned long long from, bytes, total = 0;
  while (fscanf(file, "%llu %llu", &from, &bytes) == 2) ranges.push_back({from, bytes}), total += bytes;
  fclose(file);
  if (ranges.empty()) refuse("no ranges");
  const int device = open(devicePath, O_RDONLY | O_DIRECT);
  if (device < 0) fail(devicePath);
  std::atomic<size_t> next{0};
  const auto work = [&] {
    void* space = aligned_alloc(kAlignment, kLargestRead);
    for (size_t i; (i = next.fetch_add(1)) < ranges.size();)
      if (pread(device, space, ranges[i].bytes, (off_t)ranges[i].from) != (ssize_t)ranges[i].bytes) fail(devicePath);
    free(space);
  };
  std::vector<std::thread> others;
  for (int i = 1; i < threads; ++i) others.emplace_back(work);
  work();
  for (std::thread& other : others) other.join();
  printf("ranges=%zu bytes=%llu\n", ranges.size(), total);
}

}  // namespace

int main(int count, char** words) {
  const std::string what = count > 1 ? words[1] : "";
  if (what == "list" && count == 4) return list(words[2], words[3]), 0;
  int threads = 1;
  if (what == "read" && (count == 4 || (count == 5 && sscanf(words[4], "threads=%d", &threads) == 1 && threads > 0)))
    return read(words[2], words[3], threads), 0;
  refuse("usage: disk list DIR DEVICE | disk read DEVICE RANGES [threads=N]");
}
