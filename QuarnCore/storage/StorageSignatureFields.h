#pragma once

#include "QuarnCore/storage/StorageSignature.h"
#include "QuarnModels/RecordCodec.h"

/// Field tables of storage signatures, for the resource file and messages.
namespace quarn::wire {

// clang-format off
template <> struct Fields<StorageSignature> {
  using Signature = StorageSignature;
  static constexpr std::string_view kName = "StorageSignatureRegistry.Signature";
  static constexpr bool kOmitsAbsentMembers = true;
  static constexpr auto kMembers = std::tuple(
      member("category", &Signature::category),
      member("kind",     &Signature::kind),
      member("pattern",  &Signature::pattern),
      member("reason",   &Signature::reason));
};

template <> struct Fields<StorageSignatureTable> {
  static constexpr std::string_view kName = "StorageSignatureRegistry";
  static constexpr auto kMembers = std::tuple(
      member("version",    &StorageSignatureTable::version),
      member("signatures", &StorageSignatureTable::signatures));
};
// clang-format on

}  // namespace quarn::wire
