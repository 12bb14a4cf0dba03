#pragma once

#include <bit>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "QuarnBuilders/PlistWriter.h"

namespace quarn::sample {

/// A processor type, with the byte order and word size of its programs.
struct Processor {
  std::uint32_t type = 0;
  std::uint32_t subtype = 0;
  bool is64Bit = true;
  std::endian order = std::endian::little;
};

inline constexpr Processor kArm64{.type = 0x0100000C};
inline constexpr Processor kArm64e{.type = 0x0100000C, .subtype = 0x80000002};
inline constexpr Processor kX86_64{.type = 0x01000007, .subtype = 3};
inline constexpr Processor kI386{.type = 7, .subtype = 3, .is64Bit = false};
inline constexpr Processor kPowerPC{.type = 18, .is64Bit = false, .order = std::endian::big};
inline constexpr Processor kPowerPC64{.type = 0x01000012, .is64Bit = true, .order = std::endian::big};

/// The forms of the entitlements in a signature.
enum class EntitlementForms : std::uint8_t { xml, der, xmlAndDer, emptyXmlAndDer, none };

/// The content of a signature.
struct MachOSigning {
  std::vector<std::string> groups{};  ///< application groups
  PlistDictionary entitlements{};     ///< more entitlements, before the groups
  Processor cpu = kArm64;
  EntitlementForms forms = EntitlementForms::xml;
  std::string identifier = "com.example.program";
  std::string team{};
};

/// A signed program with one slice. It has the structure of a real program, but no code and no valid hashes.
std::string signedMachO(const MachOSigning& signing = {});

/// A program with one slice. Without `signature` it has no load command for one.
std::string machO(Processor cpu, const std::string& signature = {});

/// A slice of a universal file: processor and program.
using MachOSliceBytes = std::pair<Processor, std::string>;
enum class UniversalForm : std::uint8_t { offsets32, offsets64 };

/// A universal file.
std::string universalMachO(const std::vector<MachOSliceBytes>& slices, UniversalForm form = UniversalForm::offsets32);
/// A universal file of signed programs.
std::string universalMachO(const std::vector<MachOSigning>& slices, UniversalForm form = UniversalForm::offsets32);

/// A signature, as in the program of `signedMachO`.
std::string codeSignature(const MachOSigning& signing);

/// A signature of these blobs, each with its slot. A blob begins with its magic and its length.
std::string signatureOfBlobs(const std::vector<std::pair<std::uint32_t, std::string>>& blobs);
/// A blob: magic, length, content.
std::string signatureBlob(std::uint32_t magic, const std::string& content);
/// The content of a code directory blob.
std::string codeDirectory(const std::string& identifier, const std::string& team);

/// Forms of DER entitlements: the current wrapper, or the bare set of older signing tools.
enum class DerForm : std::uint8_t { wrapped, bareSet };
std::string derEntitlements(const PlistDictionary& entitlements, DerForm form = DerForm::wrapped);

}  // namespace quarn::sample
