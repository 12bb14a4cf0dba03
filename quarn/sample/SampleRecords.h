#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "QuarnBuilders/PlistWriter.h"

namespace quarn::sample {

/// The property list of a launchd job.
struct Job {
  std::string_view path;
  std::string_view label;
  std::string_view program{};
  std::array<std::string_view, 3> arguments{};  ///< ends at the first empty one
  PlistFormat format = PlistFormat::xml;
};

/// An installer receipt: the property list and the bill of materials.
struct Receipt {
  std::string_view folder;
  std::string_view packageIdentifier;
  std::string_view version = "1.0";
  std::string_view prefix{};  ///< folder of the files
  std::string_view files{};   ///< separated by line breaks
  PlistFormat format = PlistFormat::xml;
  bool hasBill = true;
};

/// The bundle of a kernel extension.
struct KernelExtension {
  std::string_view path;
  std::string_view identifier{};
  std::string_view name{};
  std::int64_t bytes = 0;  ///< size of its executable
};

std::span<const Job> jobs();
std::span<const Receipt> receipts();
std::span<const KernelExtension> kernelExtensions();

}  // namespace quarn::sample
