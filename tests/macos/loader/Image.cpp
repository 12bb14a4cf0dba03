#include "tests/macos/loader/Image.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quarn::loader {
namespace {

constexpr std::uint64_t kPage = 4096;

std::uint64_t wholePages(std::uint64_t size) { return (size + kPage - 1) / kPage * kPage; }

std::string_view fixedName(const char (&name)[16]) { return {name, ::strnlen(name, sizeof name)}; }

bool isMapped(const macho::Segment& segment) { return fixedName(segment.name) != "__PAGEZERO" && segment.size != 0; }

// Reads the stream of opcodes that describes fixups.
class Opcodes {
 public:
  Opcodes(const char* begin, std::uint64_t size)
      : at_(reinterpret_cast<const std::uint8_t*>(begin)), end_(at_ + size) {}

  [[nodiscard]] bool isAtEnd() const { return at_ >= end_; }
  std::uint8_t byte() { return at_ < end_ ? *at_++ : 0; }

  std::uint64_t unsignedNumber() {
    std::uint64_t value = 0;
    std::uint8_t next = 0;
    for (unsigned shift = 0; shift < 64; shift += 7) {
      next = byte();
      value |= static_cast<std::uint64_t>(next & 0x7f) << shift;
      if ((next & 0x80) == 0) break;
    }
    return value;
  }

  std::int64_t signedNumber() {
    std::uint64_t value = 0;
    std::uint8_t next = 0x80;
    unsigned shift = 0;
    for (; (next & 0x80) != 0 && shift < 64; shift += 7) {
      next = byte();
      value |= static_cast<std::uint64_t>(next & 0x7f) << shift;
    }
    if (shift < 64 && (next & 0x40) != 0) value |= ~std::uint64_t{0} << shift;
    return static_cast<std::int64_t>(value);
  }

  std::string_view text() {
    const auto* begin = reinterpret_cast<const char*>(at_);
    const std::string_view found(begin, ::strnlen(begin, static_cast<std::size_t>(end_ - at_)));
    at_ = std::min(at_ + found.size() + 1, end_);
    return found;
  }

 private:
  const std::uint8_t* at_;
  const std::uint8_t* end_;
};

}  // namespace

Image::Image(const std::string& path) : path_(path) {
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat status {};
  if (file < 0 || ::fstat(file, &status) != 0) fail("cannot open it");
  const auto size = static_cast<std::size_t>(status.st_size);
  const void* mapped = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file, 0);
  if (mapped == MAP_FAILED) fail("cannot read it");
  bytes_ = {static_cast<const char*>(mapped), size};
  readCommands();
  map(file);
  ::close(file);
  indexExports();
}

void Image::fail(const std::string& why) const {
  std::fprintf(stderr, "macho_run: %s: %s\n", path_.c_str(), why.c_str());
  std::exit(126);
}

template <class Record>
const Record* Image::recordAt(std::uint64_t offset, std::uint64_t count) const {
  if (offset > bytes_.size() || count > (bytes_.size() - offset) / sizeof(Record)) fail("it is cut off");
  return reinterpret_cast<const Record*>(bytes_.data() + offset);
}

void Image::readCommands() {
  const auto* header = recordAt<macho::Header>(0);
  if (header->magic != macho::kMagic64 || header->cpu != macho::kX86_64) fail("not a Mach-O for x86_64");
  std::uint64_t offset = sizeof *header;
  for (std::uint32_t i = 0; i < header->commandCount; ++i) {
    const auto& command = *recordAt<macho::Command>(offset);
    if (command.size < sizeof command) fail("a load command has no length");
    readCommand(command, offset);
    offset += command.size;
  }
  if (dyldInfo_ == nullptr) fail("it has no dyld information");
}

void Image::readCommand(const macho::Command& command, std::uint64_t offset) {
  switch (command.kind) {
    case macho::segment64: {
      const auto& segment = *recordAt<macho::Segment>(offset);
      (void)recordAt<char>(segment.fileOffset, segment.fileSize);
      segments_.push_back(segment);
      const auto* first = recordAt<macho::Section>(offset + sizeof segment, segment.sectionCount);
      sections_.insert(sections_.end(), first, first + segment.sectionCount);
      if (fixedName(segment.name) == "__TEXT") textAddress_ = segment.address;
      break;
    }
    case macho::dyldInfo:
    case macho::dyldInfoOnly: dyldInfo_ = recordAt<macho::DyldInfo>(offset); break;
    case macho::symbolTable: symbolTable_ = recordAt<macho::SymbolTable>(offset); break;
    case macho::loadLibrary: libraries_.push_back(textOf(command, offset)); break;
    case macho::runPath: runPaths_.push_back(textOf(command, offset)); break;
    case macho::mainEntry: entryOffset_ = recordAt<macho::MainEntry>(offset)->offset; break;
    case macho::chainedFixups: fail("it has chained fixups, which are not known here");
    default: break;
  }
}

std::string Image::textOf(const macho::Command& command, std::uint64_t offset) const {
  const std::uint32_t textOffset = recordAt<macho::WithText>(offset)->textOffset;
  if (textOffset > command.size) fail("a text is outside of its load command");
  const char* text = recordAt<char>(offset, command.size) + textOffset;
  return {text, ::strnlen(text, command.size - textOffset)};
}

// One stretch for all segments, so that they keep their distances.
void Image::map(int file) {
  std::uint64_t first = ~std::uint64_t{0};
  std::uint64_t last = 0;
  for (const macho::Segment& segment : segments_) {
    if (!isMapped(segment)) continue;
    first = std::min(first, segment.address);
    last = std::max(last, segment.address + wholePages(segment.size));
  }
  if (first >= last) fail("it has no segments");
  const int fixed = first == 0 ? 0 : MAP_FIXED_NOREPLACE;
  void* room = ::mmap(reinterpret_cast<void*>(first), last - first, PROT_READ | PROT_WRITE,
                      MAP_PRIVATE | MAP_ANONYMOUS | fixed, -1, 0);
  if (room == MAP_FAILED) fail("its addresses are taken");
  slide_ = reinterpret_cast<std::uint64_t>(room) - first;
  for (const macho::Segment& segment : segments_) {
    if (isMapped(segment) && segment.fileSize != 0) mapSegment(segment, file);
  }
}

// The file's own pages, which are copied when a fixup changes them. What follows the file's bytes is zeros.
void Image::mapSegment(const macho::Segment& segment, int file) const {
  char* place = reinterpret_cast<char*>(placeAt(segment.address));
  const std::uint64_t size = std::min(segment.fileSize, segment.size);
  void* mapped = ::mmap(place, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_FIXED, file,
                        static_cast<off_t>(segment.fileOffset));
  if (mapped == MAP_FAILED) fail("a segment does not begin on a page");
  if (segment.size > size) std::memset(place + size, 0, wholePages(size) - size);
}

void Image::protect() const {
  for (const macho::Segment& segment : segments_) {
    if (!isMapped(segment)) continue;
    const int bits = (segment.firstProtection & 1 ? PROT_READ : 0) | (segment.firstProtection & 2 ? PROT_WRITE : 0) |
                     (segment.firstProtection & 4 ? PROT_EXEC : 0);
    ::mprotect(placeAt(segment.address), wholePages(segment.size), bits);
  }
}

std::uint64_t* Image::placeAt(std::uint64_t address) const {
  return reinterpret_cast<std::uint64_t*>(slide_ + address);
}

std::uint64_t Image::segmentAddress(std::uint8_t index) const {
  if (index >= segments_.size()) fail("a fixup is in no segment");
  return segments_[index].address;
}

std::vector<std::string> Image::bind(const Resolver& resolve) {
  std::vector<std::string> missing;
  if (slide_ != 0) rebase();
  bindRange(dyldInfo_->bindOffset, dyldInfo_->bindSize, Binding::now, resolve, missing);
  bindRange(dyldInfo_->weakBindOffset, dyldInfo_->weakBindSize, Binding::weak, resolve, missing);
  bindRange(dyldInfo_->lazyBindOffset, dyldInfo_->lazyBindSize, Binding::lazy, resolve, missing);
  protect();
  return missing;
}

void Image::rebase() const {
  Opcodes opcodes(recordAt<char>(dyldInfo_->rebaseOffset, dyldInfo_->rebaseSize), dyldInfo_->rebaseSize);
  std::uint64_t address = 0;
  const auto move = [&](std::uint64_t count, std::uint64_t skip) {
    for (; count > 0; --count, address += sizeof(std::uint64_t) + skip) *placeAt(address) += slide_;
  };
  while (!opcodes.isAtEnd()) {
    const std::uint8_t opcode = opcodes.byte();
    const std::uint8_t immediate = opcode & macho::kImmediateMask;
    switch (opcode & macho::kOpcodeMask) {
      case macho::rebaseDone: return;
      case macho::rebaseSetType: break;
      case macho::rebaseSetPlace: address = segmentAddress(immediate) + opcodes.unsignedNumber(); break;
      case macho::rebaseAdvance: address += opcodes.unsignedNumber(); break;
      case macho::rebaseAdvanceScaled: address += immediate * sizeof(std::uint64_t); break;
      case macho::rebaseCount: move(immediate, 0); break;
      case macho::rebaseCountLong: move(opcodes.unsignedNumber(), 0); break;
      case macho::rebaseAndAdvance: move(1, opcodes.unsignedNumber()); break;
      case macho::rebaseMany: {
        const std::uint64_t count = opcodes.unsignedNumber();
        move(count, opcodes.unsignedNumber());
        break;
      }
      default: fail("unknown rebase opcode");
    }
  }
}

void Image::bindRange(std::uint32_t offset, std::uint32_t size, Binding binding, const Resolver& resolve,
                      std::vector<std::string>& missing) const {
  Opcodes opcodes(recordAt<char>(offset, size), size);
  std::string_view symbol;
  void* target = nullptr;
  std::int64_t addend = 0;
  std::uint64_t address = 0;
  const auto put = [&](std::uint64_t skip) {
    if (target != nullptr) {
      *placeAt(address) = reinterpret_cast<std::uint64_t>(target) + static_cast<std::uint64_t>(addend);
    } else if (binding != Binding::weak) {
      missing.emplace_back(symbol);
    }
    address += sizeof(std::uint64_t) + skip;
  };
  while (!opcodes.isAtEnd()) {
    const std::uint8_t opcode = opcodes.byte();
    const std::uint8_t immediate = opcode & macho::kImmediateMask;
    switch (opcode & macho::kOpcodeMask) {
      case macho::done:  // a lazy symbol's end, which further ones follow
        if (binding != Binding::lazy) return;
        addend = 0;
        break;
      case macho::setOrdinal:
      case macho::setSpecialOrdinal:
      case macho::setType: break;
      case macho::setOrdinalLong: opcodes.unsignedNumber(); break;
      case macho::setName:
        symbol = opcodes.text();
        target = resolve(symbol);
        break;
      case macho::setAddend: addend = opcodes.signedNumber(); break;
      case macho::setPlace: address = segmentAddress(immediate) + opcodes.unsignedNumber(); break;
      case macho::advance: address += opcodes.unsignedNumber(); break;
      case macho::bindOne: put(0); break;
      case macho::bindAndAdvance: put(opcodes.unsignedNumber()); break;
      case macho::bindAndAdvanceScaled: put(immediate * sizeof(std::uint64_t)); break;
      case macho::bindMany: {
        const std::uint64_t count = opcodes.unsignedNumber();
        const std::uint64_t skip = opcodes.unsignedNumber();
        for (std::uint64_t i = 0; i < count; ++i) put(skip);
        break;
      }
      default: fail("unknown bind opcode");
    }
  }
}

// Of equal names the first one counts.
void Image::indexExports() {
  if (symbolTable_ == nullptr) return;
  const auto* symbols = recordAt<macho::Symbol>(symbolTable_->offset, symbolTable_->count);
  const std::string_view names(recordAt<char>(symbolTable_->namesOffset, symbolTable_->namesSize),
                               symbolTable_->namesSize);
  for (const macho::Symbol* at = symbols; at != symbols + symbolTable_->count; ++at) {
    if ((at->kind & macho::kExternalInSection) != macho::kExternalInSection || at->nameOffset >= names.size()) continue;
    const std::string_view name = names.substr(at->nameOffset);
    exports_.emplace(name.substr(0, name.find('\0')), placeAt(at->value));
  }
}

void* Image::exported(std::string_view symbol) const {
  const auto found = exports_.find(symbol);
  return found == exports_.end() ? nullptr : found->second;
}

void Image::initialize(int count, char** words, char** environment) const {
  using Initializer = void (*)(int, char**, char**, char**);
  char* none[] = {nullptr};
  for (const macho::Section& section : sections_) {
    const std::uint32_t kind = section.flags & macho::kSectionKindMask;
    if (kind == macho::initializers) {
      const auto* functions = reinterpret_cast<const Initializer*>(placeAt(section.address));
      for (std::uint64_t i = 0; i < section.size / sizeof *functions; ++i)
        functions[i](count, words, environment, none);
    } else if (kind == macho::initializerOffsets) {
      const auto* offsets = reinterpret_cast<const std::uint32_t*>(placeAt(section.address));
      for (std::uint64_t i = 0; i < section.size / sizeof *offsets; ++i)
        reinterpret_cast<Initializer>(base() + offsets[i])(count, words, environment, none);
    }
  }
}

void* Image::mainFunction() const {
  return entryOffset_ == 0 ? nullptr : reinterpret_cast<void*>(base() + entryOffset_);
}

bool Image::contains(std::uint64_t address) const {
  return std::any_of(segments_.begin(), segments_.end(), [&](const macho::Segment& segment) {
    return isMapped(segment) && address - slide_ >= segment.address &&
           address - slide_ < segment.address + segment.size;
  });
}

Image::Bytes Image::section(std::string_view name) const {
  for (const macho::Section& section : sections_) {
    if (fixedName(section.name) == name) return {reinterpret_cast<const char*>(placeAt(section.address)), section.size};
  }
  return {};
}

Image::ThreadLocals Image::threadLocals() const {
  std::uint64_t first = ~std::uint64_t{0};
  std::uint64_t last = 0;
  ThreadLocals found;
  for (const macho::Section& section : sections_) {
    const std::uint32_t kind = section.flags & macho::kSectionKindMask;
    if (kind != macho::threadLocalInitialValues && kind != macho::threadLocalZeros) continue;
    first = std::min(first, section.address);
    last = std::max(last, section.address + section.size);
    if (kind == macho::threadLocalInitialValues) {
      found.values = {reinterpret_cast<const char*>(placeAt(section.address)), section.size};
      found.valuesOffset = section.address;
    }
  }
  if (first >= last) return {};
  found.size = last - first;
  if (found.values.data != nullptr) found.valuesOffset -= first;
  return found;
}

}  // namespace quarn::loader
