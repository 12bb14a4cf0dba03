#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "QuarnBuilders/BigEndian.h"
#include "QuarnBuilders/MachOBuilder.h"
#include "QuarnSystem/formats/MachO.h"

namespace quarn::mach_o_tests {
namespace {

using sample::bigEndian;
using sample::littleEndian;
using sample::machO;
using sample::MachOSliceBytes;
using sample::Processor;
using sample::UniversalForm;
using sample::universalMachO;

std::vector<MachOSlice> slicesOf(const std::string& bytes) { return machOSlices(ByteSource::over(bytes)); }

/// The bytes that the load command of a slice points to.
std::string signatureOf(const std::string& bytes, const MachOSlice& slice) {
  const auto source = ByteSource::over(bytes);
  const auto range = codeSignatureRange(source, slice);
  return range ? source.exactly(range->offset, range->size) : "none";
}

std::string thinSignature(const std::string& bytes) { return signatureOf(bytes, {.offset = 0, .size = bytes.size()}); }

struct ThinCase {
  const char* name;
  Processor cpu;
  std::string magic;
};

class ThinMachO : public testing::TestWithParam<ThinCase> {};

INSTANTIATE_TEST_SUITE_P(EveryForm, ThinMachO,
                         testing::Values(ThinCase{"Arm64", sample::kArm64, "\xCF\xFA\xED\xFE"},
                                         ThinCase{"X86", sample::kX86_64, "\xCF\xFA\xED\xFE"},
                                         ThinCase{"I386", sample::kI386, "\xCE\xFA\xED\xFE"},
                                         ThinCase{"PowerPC", sample::kPowerPC, "\xFE\xED\xFA\xCE"},
                                         ThinCase{"PowerPC64", sample::kPowerPC64, "\xFE\xED\xFA\xCF"}),
                         [](const auto& form) { return form.param.name; });

TEST_P(ThinMachO, IsOneSliceWithItsProcessorAndSignature) {
  const Processor cpu = GetParam().cpu;
  const std::string bytes = machO(cpu, "the signature...");
  ASSERT_EQ(bytes.substr(0, 4), GetParam().magic);
  const MachOSlice expected{.cpuType = cpu.type, .cpuSubtype = cpu.subtype, .offset = 0, .size = bytes.size()};
  EXPECT_EQ(slicesOf(bytes), std::vector{expected});
  EXPECT_EQ(signatureOf(bytes, expected), "the signature...");
}

TEST_P(ThinMachO, WithoutASignatureHasNoRange) { EXPECT_EQ(thinSignature(machO(GetParam().cpu)), "none"); }

TEST_P(ThinMachO, TruncatedAnywhereGivesNoSignature) {
  const std::string whole = machO(GetParam().cpu, "the signature...");
  for (std::size_t length = 0; length < whole.size(); ++length) {
    const std::string bytes = whole.substr(0, length);
    for (const auto& slice : slicesOf(bytes)) EXPECT_EQ(signatureOf(bytes, slice), "none") << length;
  }
}

class UniversalMachO : public testing::TestWithParam<UniversalForm> {};

INSTANTIATE_TEST_SUITE_P(BothForms, UniversalMachO, testing::Values(UniversalForm::offsets32, UniversalForm::offsets64),
                         [](const auto& form) { return form.param == UniversalForm::offsets32 ? "Bits32" : "Bits64"; });

TEST_P(UniversalMachO, ListsItsSlicesInFileOrderWithTheirSignatures) {
  const std::vector<MachOSliceBytes> programs{{sample::kX86_64, machO(sample::kX86_64, "intel signature.")},
                                              {sample::kArm64e, machO(sample::kArm64e, "arm signature...")},
                                              {sample::kPowerPC, machO(sample::kPowerPC, "ppc signature...")}};
  const std::string bytes = universalMachO(programs, GetParam());
  const auto slices = slicesOf(bytes);
  ASSERT_EQ(slices.size(), 3U);
  for (std::size_t i = 0; i < slices.size(); ++i) {
    const auto& [cpu, program] = programs[i];
    EXPECT_EQ(slices[i].cpuType, cpu.type);
    EXPECT_EQ(slices[i].cpuSubtype, cpu.subtype);
    EXPECT_EQ(bytes.substr(slices[i].offset, slices[i].size), program);
  }
  EXPECT_EQ(signatureOf(bytes, slices[0]), "intel signature.");
  EXPECT_EQ(signatureOf(bytes, slices[1]), "arm signature...");
  EXPECT_EQ(signatureOf(bytes, slices[2]), "ppc signature...");
}

TEST_P(UniversalMachO, DropsASliceWithoutAProgramHeader) {
  const std::string arm = machO(sample::kArm64);
  const auto slices =
      slicesOf(universalMachO({{sample::kX86_64, "!<arch>\nlibrary"}, {sample::kArm64, arm}}, GetParam()));
  ASSERT_EQ(slices.size(), 1U);
  EXPECT_EQ(slices[0].cpuType, kMachOArm64);
}

TEST_P(UniversalMachO, TruncatedAnywhereListsOnlyWholeSlices) {
  const std::string arm = machO(sample::kArm64, "signature");
  const std::string whole = universalMachO({{sample::kArm64, arm}, {sample::kX86_64, arm}}, GetParam());
  const auto all = slicesOf(whole);
  ASSERT_EQ(all.size(), 2U);
  for (std::size_t length = 0; length < whole.size(); ++length) {
    for (const auto& slice : slicesOf(whole.substr(0, length))) EXPECT_LE(slice.offset + slice.size, length);
  }
}

std::string universal32(std::uint32_t count, std::uint32_t offset, std::uint32_t size) {
  return bigEndian(0xCAFEBABE, 4) + bigEndian(count, 4) + bigEndian(kMachOArm64, 4) + bigEndian(0, 4) +
         bigEndian(offset, 4) + bigEndian(size, 4) + bigEndian(0, 4) + machO(sample::kArm64);
}

std::string universal64(std::uint64_t offset, std::uint64_t size) {
  return bigEndian(0xCAFEBABF, 4) + bigEndian(1, 4) + bigEndian(kMachOArm64, 4) + bigEndian(0, 4) +
         bigEndian(offset, 8) + bigEndian(size, 8) + bigEndian(0, 8) + machO(sample::kArm64);
}

TEST(MachO, SlicesOutsideTheFileAreLeftOut) {
  ASSERT_EQ(slicesOf(universal32(1, 28, 40)).size(), 1U);
  EXPECT_TRUE(slicesOf(universal32(1, 28, 0xFFFFFFFF)).empty());
  EXPECT_TRUE(slicesOf(universal32(1, 0xFFFFFFFF, 40)).empty());
  EXPECT_TRUE(slicesOf(universal32(1, 28, 3)).empty());
  ASSERT_EQ(slicesOf(universal64(40, 40)).size(), 1U);
  EXPECT_TRUE(slicesOf(universal64(40, 0xFFFFFFFFFFFFFFFF)).empty());
  EXPECT_TRUE(slicesOf(universal64(0xFFFFFFFFFFFFFFFF, 40)).empty());
  EXPECT_TRUE(slicesOf(universal64(0xFFFFFFFFFFFFFFF8, 0xFFFFFFFFFFFFFFF8)).empty());
}

TEST(MachO, TheNumberOfSlicesIsBounded) {
  const auto file = [](std::uint32_t count) {
    std::string bytes = bigEndian(0xCAFEBABE, 4) + bigEndian(count, 4);
    for (std::uint32_t i = 0; i < count; ++i) {
      bytes += bigEndian(kMachOArm64, 4) + bigEndian(0, 4) + bigEndian(8 + 20 * count, 4) + bigEndian(40, 4) +
               bigEndian(0, 4);
    }
    return bytes + machO(sample::kArm64);
  };
  EXPECT_EQ(slicesOf(file(44)).size(), 44U);
  EXPECT_TRUE(slicesOf(file(45)).empty());
  EXPECT_TRUE(slicesOf(universal32(0xFFFFFFFF, 28, 40)).empty());
  EXPECT_TRUE(slicesOf(universal32(0, 28, 40)).empty());
  EXPECT_TRUE(slicesOf(universal32(9, 28, 40)).empty()) << "more entries than the file has room for";
}

TEST(MachO, AJavaClassFileHasNoSlices) {
  EXPECT_TRUE(
      slicesOf(bigEndian(0xCAFEBABE, 4) + bigEndian(0, 2) + bigEndian(52, 2) + std::string(2'000, '\0')).empty());
}

TEST(MachO, OtherFilesHaveNoSlices) {
  for (const std::string bytes : {"", "\xCF", "\xCF\xFA\xED\xFE", "#!/bin/sh\nexit 0\n", "MZ", "\177ELF"}) {
    EXPECT_TRUE(slicesOf(bytes).empty()) << bytes;
  }
}

TEST(MachO, InconsistentLoadCommandsGiveNoSignature) {
  const auto program = [](std::uint32_t commandCount, std::uint32_t commandBytes, const std::string& commands) {
    std::string bytes = littleEndian(0xFEEDFACF, 4) + littleEndian(kMachOArm64, 4) + littleEndian(0, 4) +
                        littleEndian(2, 4) + littleEndian(commandCount, 4) + littleEndian(commandBytes, 4) +
                        littleEndian(0, 8) + commands;
    bytes.resize(200, 's');
    return bytes;
  };
  const auto command = [](std::uint32_t type, std::uint32_t size, const std::string& content) {
    return littleEndian(type, 4) + littleEndian(size, 4) + content;
  };
  const auto place = [](std::uint32_t offset, std::uint32_t size) {
    return littleEndian(offset, 4) + littleEndian(size, 4);
  };
  const std::string other = command(0x1B, 24, std::string(16, 'u'));
  EXPECT_EQ(thinSignature(program(2, 40, other + command(0x1D, 16, place(190, 10)))), std::string(10, 's'));
  EXPECT_EQ(thinSignature(program(1, 16, command(0x1D, 16, place(190, 11)))), "none");
  EXPECT_EQ(thinSignature(program(1, 16, command(0x1D, 16, place(201, 0)))), "none");
  EXPECT_EQ(thinSignature(program(1, 16, command(0x1D, 16, place(0xFFFFFFFF, 0xFFFFFFFF)))), "none");
  EXPECT_EQ(thinSignature(program(1, 16, command(0x1D, 16, place(8, 0xFFFFFFFF)))), "none");
  EXPECT_EQ(thinSignature(program(1, 12, command(0x1D, 12, place(190, 10)))), "none") << "shorter than it must be";
  EXPECT_EQ(thinSignature(program(2, 40, command(0x1B, 0, std::string(16, 'u')) + other)), "none") << "of no length";
  EXPECT_EQ(thinSignature(program(2, 40, command(0x1B, 4, std::string(16, 'u')) + other)), "none");
  EXPECT_EQ(thinSignature(program(2, 41, command(0x1B, 25, std::string(17, 'u')) + command(0x1D, 16, place(190, 10)))),
            "none")
      << "unaligned";
  EXPECT_EQ(thinSignature(program(2, 24, other + command(0x1D, 16, place(190, 10)))), "none") << "beyond the commands";
  EXPECT_EQ(thinSignature(program(1, 24, command(0x1B, 0xFFFFFFFC, std::string(16, 'u')))), "none");
  EXPECT_EQ(thinSignature(program(0xFFFFFFFF, 24, other)), "none");
  EXPECT_EQ(thinSignature(program(2, 169, other + command(0x1D, 16, place(190, 10)))), "none") << "beyond the slice";
  EXPECT_EQ(thinSignature(program(2, 32, other + command(0x1D, 16, place(190, 10)))), "none") << "cut in the middle";
  const std::string small = program(1, 16, command(0x1D, 16, place(0, 8)));
  EXPECT_EQ(signatureOf(small, {.offset = 0, .size = 48}), small.substr(0, 8));
  EXPECT_EQ(signatureOf(small, {.offset = 0, .size = 47}), "none") << "in the file, but beyond the slice";
  EXPECT_EQ(thinSignature(program(2, 0xFFFFFFFF, other + command(0x1D, 16, place(190, 10)))), "none");
}

/// A program that is much larger than the part that the source returns.
struct HugeProgram {
  std::string start = machO(sample::kArm64, "signature");
  std::size_t bytesRead = 0;

  [[nodiscard]] ByteSource source() {
    return {.size = std::uint64_t{8} << 30U, .read = [this](std::uint64_t offset, std::size_t count) {
              bytesRead += count;
              std::string bytes = offset < start.size() ? start.substr(offset, count) : std::string();
              bytes.resize(count, '\0');
              return bytes;
            }};
  }
};

TEST(MachO, AProgramOfEightGigabytesIsNotReadWhole) {
  HugeProgram program;
  const auto source = program.source();
  const auto slices = machOSlices(source);
  ASSERT_EQ(slices.size(), 1U);
  EXPECT_EQ(slices[0].size, source.size);
  ASSERT_TRUE(codeSignatureRange(source, slices[0]));
  EXPECT_LT(program.bytesRead, 1'024U);
}

TEST(MachO, TooLargeLoadCommandsAreNotRead) {
  HugeProgram program;
  program.start.replace(20, 4, littleEndian(kMaxLoadCommandBytes + 4, 4));
  const auto source = program.source();
  EXPECT_EQ(codeSignatureRange(source, machOSlices(source).at(0)), std::nullopt);
  EXPECT_LT(program.bytesRead, 1'024U);
}

}  // namespace
}  // namespace quarn::mach_o_tests
