#include "QuarnBuilders/MachOBuilder.h"

#include <algorithm>
#include <stdexcept>
#include <variant>

#include "QuarnBuilders/BigEndian.h"

namespace quarn::sample {
namespace {

constexpr std::uint32_t kSlotCodeDirectory = 0;
constexpr std::uint32_t kSlotRequirements = 2;
constexpr std::uint32_t kSlotXml = 5;
constexpr std::uint32_t kSlotDer = 7;
constexpr std::uint32_t kSlotCertificates = 0x10000;

std::string padded(std::string bytes, std::size_t alignment) {
  bytes.resize((bytes.size() + alignment - 1) / alignment * alignment, '\0');
  return bytes;
}

struct Words {
  std::endian order = std::endian::little;
  [[nodiscard]] std::string operator()(std::uint32_t value) const {
    return order == std::endian::big ? bigEndian(value, 4) : littleEndian(value, 4);
  }
};

std::string derLength(std::size_t length) {
  if (length < 0x80) return bigEndian(length, 1);
  std::size_t width = 1;
  while (length >> (8 * width) != 0) ++width;
  return bigEndian(0x80 | width, 1) + bigEndian(length, width);
}

std::string derElement(unsigned tag, const std::string& content) {
  return bigEndian(tag, 1) + derLength(content.size()) + content;
}

std::string derInteger(std::int64_t value) {
  std::size_t width = 1;
  while (width < 8 && (value >> (8 * width - 1)) != 0 && (value >> (8 * width - 1)) != -1) ++width;
  return derElement(0x02, bigEndian(static_cast<std::uint64_t>(value), width));
}

struct DerWriter {
  DerForm form = DerForm::wrapped;

  std::string operator()(bool value) const { return derElement(0x01, std::string(1, value ? '\xFF' : '\0')); }
  std::string operator()(std::int64_t value) const { return derInteger(value); }
  std::string operator()(const std::string& value) const { return derElement(0x0C, value); }
  std::string operator()(const PlistArray& value) const {
    std::string content;
    for (const auto& element : value) content += std::visit(*this, element.held);
    return derElement(0x30, content);
  }
  std::string operator()(const PlistDictionary& value) const {
    auto sorted = value;
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const auto& left, const auto& right) { return left.first < right.first; });
    std::string content;
    for (const auto& [key, held] : sorted) {
      content += derElement(0x30, derElement(0x0C, key) + std::visit(*this, held.held));
    }
    return derElement(form == DerForm::wrapped ? 0xB0 : 0x31, content);
  }
  template <class Other>
  std::string operator()(const Other&) const {
    throw std::invalid_argument("DER entitlements do not support this type");
  }
};

PlistDictionary entitlementsOf(const MachOSigning& signing) {
  auto entitlements = signing.entitlements;
  if (!signing.groups.empty()) {
    entitlements.emplace_back("com.apple.security.application-groups",
                              PlistArray(signing.groups.begin(), signing.groups.end()));
  }
  return entitlements;
}

}  // namespace

std::string derEntitlements(const PlistDictionary& entitlements, DerForm form) {
  const std::string dictionary = DerWriter{.form = form}(entitlements);
  return form == DerForm::wrapped ? derElement(0x70, derInteger(1) + dictionary) : dictionary;
}

std::string signatureBlob(std::uint32_t magic, const std::string& content) {
  return bigEndian(magic, 4) + bigEndian(content.size() + 8, 4) + content;
}

std::string signatureOfBlobs(const std::vector<std::pair<std::uint32_t, std::string>>& blobs) {
  std::string index = bigEndian(blobs.size(), 4);
  std::string content;
  for (const auto& [slot, blob] : blobs) {
    index += bigEndian(slot, 4) + bigEndian(12 + 8 * blobs.size() + content.size(), 4);
    content += blob;
  }
  return signatureBlob(0xFADE0CC0, index + content);
}

std::string codeDirectory(const std::string& identifier, const std::string& team) {
  constexpr std::size_t kFieldBytes = 52;  // including the blob header, up to the end of the team offset
  const std::size_t teamOffset = team.empty() ? 0 : kFieldBytes + identifier.size() + 1;
  const std::string names = identifier + std::string(1, '\0') + (team.empty() ? "" : team + std::string(1, '\0'));
  return bigEndian(0x20200, 4) + bigEndian(team.empty() ? 2 : 0, 4) + bigEndian(kFieldBytes + names.size(), 4) +
         bigEndian(kFieldBytes, 4) + bigEndian(0, 12) + bigEndian(32, 1) + bigEndian(2, 1) + bigEndian(0, 1) +
         bigEndian(12, 1) + bigEndian(0, 8) + bigEndian(teamOffset, 4) + names;
}

std::string codeSignature(const MachOSigning& signing) {
  const EntitlementForms forms = signing.forms;
  std::vector<std::pair<std::uint32_t, std::string>> blobs{
      {kSlotCodeDirectory, signatureBlob(0xFADE0C02, codeDirectory(signing.identifier, signing.team))},
      {kSlotRequirements, signatureBlob(0xFADE0C01, bigEndian(0, 4))}};
  if (forms == EntitlementForms::xml || forms == EntitlementForms::xmlAndDer) {
    blobs.emplace_back(kSlotXml, signatureBlob(0xFADE7171, xmlPlist(entitlementsOf(signing))));
  }
  if (forms == EntitlementForms::emptyXmlAndDer) blobs.emplace_back(kSlotXml, signatureBlob(0xFADE7171, {}));
  if (forms != EntitlementForms::xml && forms != EntitlementForms::none) {
    blobs.emplace_back(kSlotDer, signatureBlob(0xFADE7172, derEntitlements(entitlementsOf(signing))));
  }
  blobs.emplace_back(kSlotCertificates, signatureBlob(0xFADE0B01, {}));
  return signatureOfBlobs(blobs);
}

std::string machO(Processor cpu, const std::string& signature) {
  constexpr std::uint32_t kExecutable = 2;
  constexpr std::uint32_t kUuidCommand = 0x1B;
  constexpr std::uint32_t kCodeSignatureCommand = 0x1D;
  constexpr std::size_t kSignaturePadding = 16;
  const Words word{cpu.order};
  const std::uint32_t headerBytes = cpu.is64Bit ? 32 : 28;
  const std::uint32_t commandBytes = signature.empty() ? 24 : 40;
  const auto codeStart = static_cast<std::uint32_t>(padded(std::string(headerBytes + commandBytes, '\0'), 16).size());
  std::string file = word(cpu.is64Bit ? 0xFEEDFACF : 0xFEEDFACE) + word(cpu.type) + word(cpu.subtype) +
                     word(kExecutable) + word(signature.empty() ? 1 : 2) + word(commandBytes) + word(0);
  if (cpu.is64Bit) file += word(0);
  file += word(kUuidCommand) + word(24) + std::string(16, 'u');
  if (!signature.empty()) {
    const auto bytes = static_cast<std::uint32_t>(padded(signature, kSignaturePadding).size());
    file += word(kCodeSignatureCommand) + word(16) + word(codeStart + 16) + word(bytes);
  }
  file.resize(codeStart, '\0');
  return file + std::string(16, 'c') + padded(signature, kSignaturePadding);
}

std::string signedMachO(const MachOSigning& signing) { return machO(signing.cpu, codeSignature(signing)); }

std::string universalMachO(const std::vector<MachOSliceBytes>& slices, UniversalForm form) {
  const bool isWide = form == UniversalForm::offsets64;
  const std::size_t field = isWide ? 8 : 4;
  std::string table = bigEndian(isWide ? 0xCAFEBABF : 0xCAFEBABE, 4) + bigEndian(slices.size(), 4);
  const std::size_t start = padded(std::string(table.size() + slices.size() * (isWide ? 32 : 20), '\0'), 16).size();
  std::string content;
  for (const auto& [cpu, bytes] : slices) {
    table += bigEndian(cpu.type, 4) + bigEndian(cpu.subtype, 4) + bigEndian(start + content.size(), field) +
             bigEndian(bytes.size(), field) + bigEndian(4, 4) + (isWide ? bigEndian(0, 4) : std::string());
    content += padded(bytes, 16);
  }
  return padded(table, 16) + content;
}

std::string universalMachO(const std::vector<MachOSigning>& slices, UniversalForm form) {
  std::vector<MachOSliceBytes> programs;
  programs.reserve(slices.size());
  for (const auto& signing : slices) programs.emplace_back(signing.cpu, signedMachO(signing));
  return universalMachO(programs, form);
}

}  // namespace quarn::sample
