#pragma once

#include <cstdint>

// The parts of the Mach-O format that the loader reads, by the public description of the format.
namespace quarn::loader::macho {

inline constexpr std::uint32_t kMagic64 = 0xfeedfacf;
inline constexpr std::uint32_t kX86_64 = 0x01000007;

enum CommandKind : std::uint32_t {
  symbolTable = 0x02,
  loadLibrary = 0x0c,
  libraryID = 0x0d,
  segment64 = 0x19,
  dyldInfo = 0x22,
  dyldInfoOnly = 0x80000022,
  runPath = 0x8000001c,
  mainEntry = 0x80000028,
  chainedFixups = 0x80000034,
};

enum SectionKind : std::uint32_t {
  initializers = 0x09,
  threadLocalInitialValues = 0x11,
  threadLocalZeros = 0x12,
  initializerOffsets = 0x16,
};
inline constexpr std::uint32_t kSectionKindMask = 0xff;

struct Header {
  std::uint32_t magic, cpu, cpuVariant, fileKind, commandCount, commandBytes, flags, reserved;
};
struct Command {
  std::uint32_t kind, size;
};
struct Segment {
  Command command;
  char name[16];
  std::uint64_t address, size, fileOffset, fileSize;
  std::int32_t mostProtection, firstProtection;
  std::uint32_t sectionCount, flags;
};
struct Section {
  char name[16], segment[16];
  std::uint64_t address, size;
  std::uint32_t fileOffset, alignment, relocationsOffset, relocationCount, flags, reserved[3];
};
struct DyldInfo {
  Command command;
  std::uint32_t rebaseOffset, rebaseSize, bindOffset, bindSize, weakBindOffset, weakBindSize, lazyBindOffset,
      lazyBindSize, exportOffset, exportSize;
};
struct SymbolTable {
  Command command;
  std::uint32_t offset, count, namesOffset, namesSize;
};
struct Symbol {
  std::uint32_t nameOffset;
  std::uint8_t kind, section;
  std::uint16_t description;
  std::uint64_t value;
};
inline constexpr std::uint8_t kExternalInSection = 0x0f;  // N_SECT | N_EXT
struct MainEntry {
  Command command;
  std::uint64_t offset, stackSize;
};
// LC_LOAD_DYLIB, LC_RPATH: a text stands this many bytes after the command's beginning.
struct WithText {
  Command command;
  std::uint32_t textOffset;
};

enum BindOpcode : std::uint8_t {
  done = 0x00,
  setOrdinal = 0x10,
  setOrdinalLong = 0x20,
  setSpecialOrdinal = 0x30,
  setName = 0x40,
  setType = 0x50,
  setAddend = 0x60,
  setPlace = 0x70,
  advance = 0x80,
  bindOne = 0x90,
  bindAndAdvance = 0xa0,
  bindAndAdvanceScaled = 0xb0,
  bindMany = 0xc0,
};
enum RebaseOpcode : std::uint8_t {
  rebaseDone = 0x00,
  rebaseSetType = 0x10,
  rebaseSetPlace = 0x20,
  rebaseAdvance = 0x30,
  rebaseAdvanceScaled = 0x40,
  rebaseCount = 0x50,
  rebaseCountLong = 0x60,
  rebaseAndAdvance = 0x70,
  rebaseMany = 0x80,
};
inline constexpr std::uint8_t kOpcodeMask = 0xf0;
inline constexpr std::uint8_t kImmediateMask = 0x0f;

}  // namespace quarn::loader::macho
