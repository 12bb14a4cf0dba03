#include "QuarnSystem/formats/MachO.h"

#include <array>
#include <bit>
#include <string>

#include "QuarnSystem/formats/ByteReader.h"

namespace quarn {

namespace {

/// The first four bytes of a thin file, read as big-endian, determine its byte order and word size.
struct ThinForm {
  std::uint32_t magic = 0;
  std::endian order = std::endian::big;
  std::uint32_t headerBytes = 0;
};

// clang-format off
constexpr std::array<ThinForm, 4> kThinForms{{
    {.magic = 0xFEEDFACE, .order = std::endian::big,    .headerBytes = 28},
    {.magic = 0xFEEDFACF, .order = std::endian::big,    .headerBytes = 32},
    {.magic = 0xCEFAEDFE, .order = std::endian::little, .headerBytes = 28},
    {.magic = 0xCFFAEDFE, .order = std::endian::little, .headerBytes = 32},
}};
// clang-format on
static_assert(kThinForms.size() == 4);

/// The header of a universal file is big-endian, whatever its slices are. An entry has the type and subtype, then
/// offset and size.
struct UniversalForm {
  std::uint32_t magic = 0;
  std::size_t fieldBytes = 0;  ///< width of offset and size
  std::size_t entryBytes = 0;
};

// clang-format off
constexpr std::array<UniversalForm, 2> kUniversalForms{{
    {.magic = 0xCAFEBABE, .fieldBytes = 4, .entryBytes = 20},
    {.magic = 0xCAFEBABF, .fieldBytes = 8, .entryBytes = 32},
}};
// clang-format on
static_assert(kUniversalForms.size() == 2);

constexpr std::uint64_t kUniversalHeaderBytes = 8;
constexpr std::uint32_t kLoadCommandCodeSignature = 0x1D;
constexpr std::uint32_t kSignatureCommandBytes = 16;

struct ThinHeader {
  std::endian order = std::endian::big;
  std::uint32_t bytes = 0;
  std::uint32_t cpuType = 0;
  std::uint32_t cpuSubtype = 0;
  std::uint32_t commandCount = 0;
  std::uint32_t commandBytes = 0;
};

template <class Form, std::size_t count>
const Form* formOf(const std::array<Form, count>& forms, std::string_view start) {
  const auto magic = ByteReader(start).u32(0);
  for (const auto& form : forms) {
    if (magic == form.magic) return &form;
  }
  return nullptr;
}

std::optional<ThinHeader> thinHeader(const ByteSource& file, std::uint64_t offset) {
  const ThinForm* form = formOf(kThinForms, file.exactly(offset, 4));
  if (form == nullptr) return std::nullopt;
  const std::string start = file.exactly(offset, form->headerBytes);
  if (start.empty()) return std::nullopt;
  const ByteReader header(start, form->order);
  return ThinHeader{.order = form->order,
                    .bytes = form->headerBytes,
                    .cpuType = *header.u32(4),
                    .cpuSubtype = *header.u32(8),
                    .commandCount = *header.u32(16),
                    .commandBytes = *header.u32(20)};
}

std::vector<MachOSlice> universalSlices(const ByteSource& file, const UniversalForm& form) {
  const auto count = ByteReader(file.exactly(4, 4)).u32(0);
  if (!count || *count > kMaxMachOSlices) return {};
  const std::string table = file.exactly(kUniversalHeaderBytes, *count * form.entryBytes);
  const ByteReader entries(table);
  std::vector<MachOSlice> slices;
  for (std::uint64_t entry = 0; entry < table.size(); entry += form.entryBytes) {
    const MachOSlice slice{.cpuType = *entries.u32(entry),
                           .cpuSubtype = *entries.u32(entry + 4),
                           .offset = *entries.integer(entry + 8, form.fieldBytes),
                           .size = *entries.integer(entry + 8 + form.fieldBytes, form.fieldBytes)};
    const bool liesInFile = slice.offset <= file.size && slice.size <= file.size - slice.offset;
    if (liesInFile && slice.size >= 4 && formOf(kThinForms, file.exactly(slice.offset, 4)) != nullptr) {
      slices.push_back(slice);
    }
  }
  return slices;
}

/// The range in the first signature command, relative to the start of the slice.
std::optional<ByteRange> signatureCommand(const ByteReader& commands, std::uint32_t count) {
  std::uint64_t position = 0;
  for (std::uint32_t i = 0; i < count; ++i) {
    const auto command = commands.u32(position);
    const auto size = commands.u32(position + 4);
    if (!size || *size < 8 || *size % 4 != 0 || *size > commands.size() - position) return std::nullopt;
    if (*command == kLoadCommandCodeSignature) {
      if (*size < kSignatureCommandBytes) return std::nullopt;
      return ByteRange{.offset = *commands.u32(position + 8), .size = *commands.u32(position + 12)};
    }
    position += *size;
  }
  return std::nullopt;
}

}  // namespace

std::vector<MachOSlice> machOSlices(const ByteSource& file) {
  const std::string magic = file.exactly(0, 4);
  if (const auto* universal = formOf(kUniversalForms, magic)) return universalSlices(file, *universal);
  const auto header = thinHeader(file, 0);
  if (!header) return {};
  return {{.cpuType = header->cpuType, .cpuSubtype = header->cpuSubtype, .offset = 0, .size = file.size}};
}

std::optional<ByteRange> codeSignatureRange(const ByteSource& file, const MachOSlice& slice) {
  const auto header = thinHeader(file, slice.offset);
  if (!header || slice.size < header->bytes || header->commandBytes > slice.size - header->bytes) return std::nullopt;
  if (header->commandBytes > kMaxLoadCommandBytes) return std::nullopt;
  const std::string bytes = file.exactly(slice.offset + header->bytes, header->commandBytes);
  const ByteReader commands(bytes, header->order);
  const auto place = signatureCommand(commands, header->commandCount);
  if (!place || place->offset > slice.size || place->size > slice.size - place->offset) return std::nullopt;
  return ByteRange{.offset = slice.offset + place->offset, .size = place->size};
}

}  // namespace quarn
