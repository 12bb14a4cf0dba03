#include "QuarnSystem/formats/CodeSignature.h"

#include <cstdint>

#include "QuarnSystem/formats/ByteReader.h"

namespace quarn {

namespace {

// From <kern/cs_blobs.h>. All numbers are big-endian.
constexpr std::uint32_t kEmbeddedSignature = 0xFADE0CC0;
constexpr std::uint32_t kCodeDirectory = 0xFADE0C02;
constexpr std::uint32_t kEntitlementsXml = 0xFADE7171;
constexpr std::uint32_t kEntitlementsDer = 0xFADE7172;

constexpr std::uint32_t kSlotCodeDirectory = 0;
constexpr std::uint32_t kSlotEntitlementsXml = 5;
constexpr std::uint32_t kSlotEntitlementsDer = 7;

constexpr std::uint64_t kBlobHeaderBytes = 8;
constexpr std::uint64_t kIndexStart = 12;
constexpr std::uint64_t kIndexEntryBytes = 8;

constexpr std::uint64_t kVersionField = 8;
constexpr std::uint64_t kIdentifierField = 20;
constexpr std::uint64_t kTeamField = 48;
constexpr std::uint32_t kFirstVersionWithTeam = 0x20200;

/// The blob at an offset. Its header holds the magic and the length, including the header.
std::optional<std::string_view> blobAt(const ByteReader& bytes, std::uint64_t offset, std::uint32_t magic) {
  if (bytes.u32(offset) != magic) return std::nullopt;
  const auto length = bytes.u32(offset + 4);
  if (!length || *length < kBlobHeaderBytes) return std::nullopt;
  return bytes.slice(offset, *length);
}

/// The first blob in a slot; empty if it has the wrong magic.
std::string_view blobInSlot(const ByteReader& signature, std::uint32_t slot, std::uint32_t magic) {
  const std::uint64_t count = *signature.u32(8);
  for (std::uint64_t i = 0; i < count; ++i) {
    const std::uint64_t entry = kIndexStart + i * kIndexEntryBytes;
    const auto type = signature.u32(entry);
    const auto offset = signature.u32(entry + 4);
    if (!offset) return {};
    if (type == slot) return blobAt(signature, *offset, magic).value_or(std::string_view());
  }
  return {};
}

std::string contentOf(std::string_view blob) {
  return blob.empty() ? std::string() : std::string(blob.substr(kBlobHeaderBytes));
}

std::string textAt(const ByteReader& directory, std::optional<std::uint32_t> offset) {
  if (!offset || *offset == 0) return {};
  return std::string(directory.terminatedText(*offset).value_or(std::string_view()));
}

std::string teamOf(const ByteReader& directory) {
  const auto version = directory.u32(kVersionField);
  if (!version || *version < kFirstVersionWithTeam) return {};
  return textAt(directory, directory.u32(kTeamField));
}

}  // namespace

std::optional<CodeSignature> CodeSignature::parse(std::string_view bytes) {
  const auto whole = blobAt(ByteReader(bytes), 0, kEmbeddedSignature);
  if (!whole || whole->size() < kIndexStart) return std::nullopt;
  const ByteReader signature(*whole);
  const ByteReader directory(blobInSlot(signature, kSlotCodeDirectory, kCodeDirectory));
  return CodeSignature{
      .identifier = textAt(directory, directory.u32(kIdentifierField)),
      .teamIdentifier = teamOf(directory),
      .entitlementsXml = contentOf(blobInSlot(signature, kSlotEntitlementsXml, kEntitlementsXml)),
      .entitlementsDer = contentOf(blobInSlot(signature, kSlotEntitlementsDer, kEntitlementsDer)),
  };
}

}  // namespace quarn
