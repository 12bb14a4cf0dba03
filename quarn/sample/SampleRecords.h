#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "QuarnBuilders/PlistWriter.h"

namespace quarn::sample {

/// A launchd job's property list.
struct Job {
  std::string_view path;
  std::string_view label;
  std::string_view program{};
  std::array<std::string_view, 3> arguments{};  ///< up to the first empty one
  PlistFormat format = PlistFormat::xml;
};

/// What an installer records: the property list and the bill of materials beside it.
struct Receipt {
  std::string_view folder;
  std::string_view packageIdentifier;
  std::string_view version = "1.0";
  std::string_view prefix{};  ///< the files are below it
  std::string_view files{};   ///< a line break between them
  PlistFormat format = PlistFormat::xml;
  bool hasBill = true;
};

/// A kernel extension's bundle.
struct KernelExtension {
  std::string_view path;
  std::string_view identifier{};
  std::string_view name{};
  std::int64_t bytes = 0;  ///< of its program
};

std::span<const Job> jobs();
std::span<const Receipt> receipts();
std::span<const KernelExtension> kernelExtensions();

}  // namespace quarn::sample
