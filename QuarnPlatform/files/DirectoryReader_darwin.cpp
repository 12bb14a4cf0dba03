#include <cerrno>
#include <cstdint>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/attr.h>
#include <sys/stat.h>
#include <sys/vnode.h>
#include <unistd.h>

#include "QuarnPlatform/base/BlockBytes.h"
#include "QuarnPlatform/base/Interruption.h"
#include "QuarnPlatform/files/DirectoryReader.h"
#include "QuarnPlatform/files/Hidden.h"
#include "QuarnPlatform/files/ItemStatus.h"
#include "QuarnPlatform/files/ListingCount.h"

namespace quarn {
namespace {

constexpr std::size_t kBufferSize = 256u << 10;
// About two hundred entries. Sharing fewer costs more than it saves.
constexpr std::size_t kSmallestShare = 16u << 10;

// These take the right to list the folder alone. All others take the right to search it too.
constexpr attrgroup_t kNameAndType = ATTR_CMN_RETURNED_ATTRS | ATTR_CMN_ERROR | ATTR_CMN_NAME | ATTR_CMN_OBJTYPE;
// The two sizes that `fstatat` gives: all that is allocated, and the data's length.
constexpr attrgroup_t kSizes = ATTR_FILE_ALLOCSIZE | ATTR_FILE_DATALENGTH;

FileType typeOfObject(fsobj_type_t type) {
  switch (type) {
    case VREG: return FileType::regular;
    case VDIR: return FileType::directory;
    case VLNK: return FileType::symbolicLink;
    default: return FileType::other;
  }
}

int lookUp(int folder, const char* name, struct stat& status) {
  return againIfInterrupted([&] { return ::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW); });
}

// An item that cannot be looked up counts as a file: whoever reads it meets the error again and reports it.
std::optional<FileType> lookedUpType(int folder, const char* name) {
  struct stat status {};
  if (lookUp(folder, name, status) == 0) return fileTypeOf(status.st_mode);
  return errno == ENOENT ? std::nullopt : std::optional(FileType::regular);
}

// What is only in the cloud occupies nothing here, whatever the file system answers. Absent when a damaged or hostile
// file system reports what does not fit.
std::optional<ByteCounts> sizesOf(std::optional<std::int64_t> allocated, std::int64_t logical, std::uint32_t flags) {
  if ((flags & SF_DATALESS) != 0) allocated = 0;
  if (!allocated || *allocated < 0 || logical < 0) return std::nullopt;
  return ByteCounts{.allocatedBytes = *allocated, .logicalBytes = logical};
}

// Takes values out of one record, one after the other. Nothing in a record is aligned to more than four bytes.
class Fields {
 public:
  explicit Fields(const char* at) : at_(at) {}

  template <class Value>
  Value take() {
    Value value{};
    std::memcpy(&value, at_, sizeof value);
    at_ += sizeof value;
    return value;
  }
  // An attribute that was not returned has no place in the record.
  template <class Value>
  Value takeIf(bool isReturned) {
    return isReturned ? take<Value>() : Value{};
  }
  // The name is elsewhere in the record, at a distance from its reference.
  std::string_view takeName() {
    const char* reference = at_;
    const auto place = take<attrreference_t>();
    return {reference + place.attr_dataoffset, place.attr_length - 1};
  }

 private:
  const char* at_;
};

}  // namespace

// The kernel's records follow each other between `at` and `end`; each begins with its length.
struct DirectoryReader::State {
  std::unique_ptr<char[]> buffer = std::make_unique_for_overwrite<char[]>(kBufferSize);
  Stretch resumed;
  const char* at = nullptr;
  const char* end = nullptr;
  int folder = -1;
  int error = 0;
  attrlist wanted{};
  Entry entry;

  static std::uint32_t lengthOf(const char* record) { return Fields(record).take<std::uint32_t>(); }

  int readRecords() {
    return againIfInterrupted([this] { return ::getattrlistbulk(folder, &wanted, buffer.get(), kBufferSize, 0); });
  }

  // Fills `entry`; false for an item that vanished. The attributes come in the order of their bits, the error first.
  bool take(const char* record) {
    Fields fields(record);
    fields.take<std::uint32_t>();
    const auto returned = fields.take<attribute_set_t>();
    const auto isReturned = [&](attrgroup_t attribute) { return (returned.commonattr & attribute) != 0; };
    fields.takeIf<std::uint32_t>(isReturned(ATTR_CMN_ERROR));
    entry.name = fields.takeName();
    const auto object = fields.takeIf<fsobj_type_t>(isReturned(ATTR_CMN_OBJTYPE));
    const auto flags = fields.takeIf<std::uint32_t>(isReturned(ATTR_CMN_FLAGS));
    const std::optional<FileType> type =
        isReturned(ATTR_CMN_OBJTYPE) ? typeOfObject(object) : lookedUpType(folder, entry.name.data());
    entry.type = type.value_or(FileType::other);
    entry.hidden = isHidden(entry.name, (flags & UF_HIDDEN) != 0 ? HiddenFlag::set : HiddenFlag::clear);
    entry.sizes.reset();
    if (entry.type == FileType::regular && (returned.fileattr & kSizes) == kSizes) {
      const auto allocated = fields.take<off_t>();
      entry.sizes = sizesOf(allocated, fields.take<off_t>(), flags);
    }
    return type.has_value();
  }
};

DirectoryReader::DirectoryReader() : state_(std::make_unique<State>()) {}
DirectoryReader::~DirectoryReader() = default;

void DirectoryReader::start(int folder, EnumeratedFacts facts) {
  state_->folder = folder;
  state_->error = 0;
  state_->at = state_->end = nullptr;
  state_->wanted = {};
  state_->wanted.bitmapcount = ATTR_BIT_MAP_COUNT;
  state_->wanted.commonattr = kNameAndType | ATTR_CMN_FLAGS;
  state_->wanted.fileattr = facts == EnumeratedFacts::sizes ? kSizes : 0;
}

// A folder that may be listed and not searched gives names and types. Where a file system cannot list in bulk, the
// kernel itself lists item by item, so there is no other way to fall back to.
bool DirectoryReader::readMore() {
  int count = state_->readRecords();
  if (count < 0 && errno == EACCES && state_->wanted.commonattr != kNameAndType) {
    state_->wanted.commonattr = kNameAndType;
    state_->wanted.fileattr = 0;
    count = state_->readRecords();
  }
  if (count < 0) state_->error = errno;
  if (count > 0) ListingCount::add(static_cast<std::uint64_t>(count));
  state_->at = state_->end = state_->buffer.get();
  for (int i = 0; i < count; ++i) state_->end += State::lengthOf(state_->end);
  return count > 0;
}

const DirectoryReader::Entry* DirectoryReader::next() {
  while (state_->at != state_->end) {
    const char* record = state_->at;
    state_->at += State::lengthOf(record);
    if (state_->take(record)) return &state_->entry;
  }
  return nullptr;
}

int DirectoryReader::error() const { return state_->error; }

DirectoryReader::Stretch DirectoryReader::takeHalf() {
  const auto left = static_cast<std::size_t>(state_->end - state_->at);
  if (left < 2 * kSmallestShare) return {};
  const char* middle = state_->at;
  while (middle < state_->at + left / 2) middle += State::lengthOf(middle);
  return {middle, std::exchange(state_->end, middle)};
}

void DirectoryReader::resume(int folder, Stretch stretch) {
  start(folder);
  state_->resumed = std::move(stretch);
  state_->at = state_->resumed.data();
  state_->end = state_->at + state_->resumed.size();
}

bool DirectoryReader::readSizes(int parent, const char* name, ByteCounts& sizes, Details* details) {
  struct stat status {};
  if (lookUp(parent, name, status) != 0) return false;
  const std::optional<std::int64_t> allocated =
      bytesInBlocks(static_cast<std::uint64_t>(status.st_blocks), kStatusBlockSize);
  const std::optional<ByteCounts> found =
      sizesOf(allocated, status.st_size, static_cast<std::uint32_t>(status.st_flags));
  if (!S_ISREG(status.st_mode) || !found) {
    errno = found ? ENOENT : EOVERFLOW;
    return false;
  }
  sizes = *found;
  if (details != nullptr) {
    *details = {.modified = status.st_mtime,
                .device = static_cast<std::uint64_t>(status.st_dev),
                .inode = status.st_ino,
                .links = status.st_nlink};
  }
  return true;
}

}  // namespace quarn
