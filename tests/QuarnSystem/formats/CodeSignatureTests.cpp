#include <string>

#include <gtest/gtest.h>

#include "QuarnBuilders/BigEndian.h"
#include "QuarnBuilders/MachOBuilder.h"
#include "QuarnSystem/formats/CodeSignature.h"

namespace quarn::code_signature_tests {
namespace {

using sample::bigEndian;
using sample::codeDirectory;
using sample::signatureBlob;
using sample::signatureOfBlobs;

constexpr std::uint32_t kDirectoryMagic = 0xFADE0C02;
constexpr std::uint32_t kXmlMagic = 0xFADE7171;
constexpr std::uint32_t kDerMagic = 0xFADE7172;

/// A signature with a raw directory: the identifier is at `identifierOffset`, the team at `teamOffset`.
std::string signatureWithDirectory(std::uint32_t version, std::uint32_t identifierOffset, std::uint32_t teamOffset,
                                   const std::string& rest) {
  const std::string content = bigEndian(version, 4) + bigEndian(0, 8) + bigEndian(identifierOffset, 4) +
                              bigEndian(0, 24) + bigEndian(teamOffset, 4) + rest;
  return signatureOfBlobs({{0, signatureBlob(kDirectoryMagic, content)}});
}

TEST(CodeSignature, ReadsIdentifierTeamAndBothFormsOfEntitlements) {
  const auto signature = CodeSignature::parse(
      signatureOfBlobs({{0, signatureBlob(kDirectoryMagic, codeDirectory("com.example.app", "TEAM123456"))},
                        {2, signatureBlob(0xFADE0C01, bigEndian(0, 4))},
                        {5, signatureBlob(kXmlMagic, "<xml>")},
                        {7, signatureBlob(kDerMagic, "der")},
                        {0x10000, signatureBlob(0xFADE0B01, "certificates")}}));
  const CodeSignature expected{.identifier = "com.example.app",
                               .teamIdentifier = "TEAM123456",
                               .entitlementsXml = "<xml>",
                               .entitlementsDer = "der"};
  EXPECT_EQ(signature, expected);
}

TEST(CodeSignature, MissingFieldsAreEmpty) {
  EXPECT_EQ(CodeSignature::parse(signatureOfBlobs({})), CodeSignature{});
  const auto adHoc =
      CodeSignature::parse(signatureOfBlobs({{0, signatureBlob(kDirectoryMagic, codeDirectory("tool", ""))}}));
  EXPECT_EQ(adHoc, CodeSignature{.identifier = "tool"});
}

TEST(CodeSignature, PaddingDoesNotMatter) {
  const auto signature =
      CodeSignature::parse(signatureOfBlobs({{5, signatureBlob(kXmlMagic, "x")}}) + std::string(16, '\0'));
  ASSERT_TRUE(signature);
  EXPECT_EQ(signature->entitlementsXml, "x");
}

TEST(CodeSignature, ABlobOfItsHeaderOnlyIsEmpty) {
  const auto signature =
      CodeSignature::parse(signatureOfBlobs({{5, signatureBlob(kXmlMagic, "")}, {7, signatureBlob(kDerMagic, "")}}));
  EXPECT_EQ(signature, CodeSignature{});
}

TEST(CodeSignature, ABlobWithTheWrongMagicIsIgnored) {
  const auto signature =
      CodeSignature::parse(signatureOfBlobs({{0, signatureBlob(kXmlMagic, codeDirectory("id", "team"))},
                                             {5, signatureBlob(kDerMagic, "der")},
                                             {7, signatureBlob(kXmlMagic, "xml")}}));
  EXPECT_EQ(signature, CodeSignature{});
}

TEST(CodeSignature, TheFirstBlobInASlotCounts) {
  const auto signature = CodeSignature::parse(
      signatureOfBlobs({{5, signatureBlob(kXmlMagic, "first")}, {5, signatureBlob(kXmlMagic, "second")}}));
  ASSERT_TRUE(signature);
  EXPECT_EQ(signature->entitlementsXml, "first");
}

TEST(CodeSignature, ADirectoryOlderThanTeamsHasNone) {
  const std::string names = "id" + std::string(1, '\0') + "team" + std::string(1, '\0');
  EXPECT_EQ(CodeSignature::parse(signatureWithDirectory(0x20100, 52, 55, names)), CodeSignature{.identifier = "id"});
  const CodeSignature withTeam{.identifier = "id", .teamIdentifier = "team"};
  EXPECT_EQ(CodeSignature::parse(signatureWithDirectory(0x20200, 52, 55, names)), withTeam);
  EXPECT_EQ(CodeSignature::parse(signatureWithDirectory(0x20400, 52, 0, names)), CodeSignature{.identifier = "id"});
}

TEST(CodeSignature, NamesThatDoNotEndInTheDirectoryAreMissing) {
  EXPECT_EQ(CodeSignature::parse(signatureWithDirectory(0x20200, 52, 0, "unending")), CodeSignature{});
  EXPECT_EQ(CodeSignature::parse(signatureWithDirectory(0x20200, 0xFFFFFFFF, 0xFFFFFFFF, std::string("a\0", 2))),
            CodeSignature{});
  EXPECT_EQ(CodeSignature::parse(signatureWithDirectory(0x20200, 0, 0, std::string("a\0", 2))), CodeSignature{});
  EXPECT_EQ(CodeSignature::parse(signatureOfBlobs({{0, signatureBlob(kDirectoryMagic, "short")}})), CodeSignature{});
}

TEST(CodeSignature, OtherBytesAreRefused) {
  EXPECT_EQ(CodeSignature::parse(""), std::nullopt);
  EXPECT_EQ(CodeSignature::parse("garbage garbage garbage"), std::nullopt);
  EXPECT_EQ(CodeSignature::parse(signatureBlob(0xFADE0CC1, bigEndian(0, 4))), std::nullopt);
  EXPECT_EQ(CodeSignature::parse(signatureBlob(0xFADE0CC0, "")), std::nullopt);
}

TEST(CodeSignature, ALengthBeyondTheBytesIsRefused) {
  const std::string start = bigEndian(0xFADE0CC0, 4);
  EXPECT_EQ(CodeSignature::parse(start + bigEndian(0xFFFFFFFF, 4) + bigEndian(0, 4)), std::nullopt);
  EXPECT_EQ(CodeSignature::parse(start + bigEndian(13, 4) + bigEndian(0, 4)), std::nullopt);
  EXPECT_EQ(CodeSignature::parse(start + bigEndian(4, 4) + bigEndian(0, 4)), std::nullopt);
  EXPECT_EQ(CodeSignature::parse(start + bigEndian(12, 4) + bigEndian(0, 4)), CodeSignature{});
}

TEST(CodeSignature, ATooLargeCountOfBlobsFindsTheExistingOnes) {
  const std::string blob = signatureBlob(kXmlMagic, "x");
  const auto signature = [&](std::uint32_t slot, std::uint32_t offset) {
    return CodeSignature::parse(
        signatureBlob(0xFADE0CC0, bigEndian(0xFFFFFFFF, 4) + bigEndian(slot, 4) + bigEndian(offset, 4) + blob));
  };
  EXPECT_EQ(signature(5, 20), CodeSignature{.entitlementsXml = "x"});
  EXPECT_EQ(signature(6, 20), CodeSignature{});
}

TEST(CodeSignature, BlobsOutsideTheSignatureAreMissing) {
  const auto signature = [](std::uint32_t offset, std::uint32_t length) {
    const std::string blob = bigEndian(kXmlMagic, 4) + bigEndian(length, 4) + "x";
    return CodeSignature::parse(
        signatureBlob(0xFADE0CC0, bigEndian(1, 4) + bigEndian(5, 4) + bigEndian(offset, 4) + blob) + "behind");
  };
  EXPECT_EQ(signature(20, 9), CodeSignature{.entitlementsXml = "x"});
  for (const std::uint32_t length : {0U, 7U, 10U, 0xFFFFFFFFU})
    EXPECT_EQ(signature(20, length), CodeSignature{}) << length;
  for (const std::uint32_t offset : {21U, 28U, 29U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
    EXPECT_EQ(signature(offset, 9), CodeSignature{}) << offset;
  }
}

TEST(CodeSignature, ATruncatedSignatureIsRefused) {
  const std::string whole = sample::codeSignature({.groups = {"group.a"}, .team = "TEAM123456"});
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_EQ(CodeSignature::parse(whole.substr(0, length)), std::nullopt) << length;
  }
}

}  // namespace
}  // namespace quarn::code_signature_tests
