#pragma once

#include "QuarnCore/storage/ScanRules.h"
#include "QuarnPlatform/walking/TreeSizer.h"

namespace quarn {

/// The index of a category in the totals of a walk.
constexpr std::uint8_t bucketOf(StorageCategoryID category) { return static_cast<std::uint8_t>(category); }

/// Attributes all items to the total of the root, except those that the mode excludes.
class WholeAttribution : public Attribution {
 public:
  WholeAttribution(const ScanRules& rules, ScanMode::Kind mode) : rules_(rules), mode_(mode) {}

  [[nodiscard]] std::optional<Step> folder(const Step& parent, std::string_view name, bool isPackage) const override;
  [[nodiscard]] std::optional<std::uint8_t> file(const Step& parent, std::string_view name) const override;
  [[nodiscard]] std::optional<std::uint8_t> everyFile(const Step& parent) const override;

 private:
  const ScanRules& rules_;
  ScanMode::Kind mode_;
};

/// Attributes each item by the dictionary of extensions, else by the longest rule, else like its folder. A package or
/// a folder with an extension of the dictionary counts as a whole.
class ItemAttribution : public Attribution {
 public:
  explicit ItemAttribution(const ScanRules& rules) : rules_(rules), whole_(rules, ScanMode::Kind::enumerate) {}

  [[nodiscard]] bool needsPackages() const override { return true; }
  [[nodiscard]] std::optional<Step> folder(const Step& parent, std::string_view name, bool isPackage) const override;
  [[nodiscard]] std::optional<std::uint8_t> file(const Step& parent, std::string_view name) const override;
  [[nodiscard]] std::optional<std::uint8_t> everyFile(const Step& parent) const override;

 private:
  const ScanRules& rules_;
  WholeAttribution whole_;
};

/// Attributes items like another attribution. Counts in `kRest` what that one leaves out, so that a recorded walk
/// covers everything but the roots that are walked separately.
class RecordedAttribution : public Attribution {
 public:
  /// The total of the items that count for no category.
  static constexpr std::uint8_t kRest = TreeSizer::kBuckets - 1;

  RecordedAttribution(const Attribution& categories, const ScanRules& rules) : categories_(categories), rules_(rules) {}

  /// Where a walk starts that counts for no category.
  [[nodiscard]] static Step restAt(ScanRules::Trie::Node node);
  [[nodiscard]] bool needsPackages() const override { return categories_.needsPackages(); }
  [[nodiscard]] std::optional<Step> folder(const Step& parent, std::string_view name, bool isPackage) const override;
  [[nodiscard]] std::optional<std::uint8_t> file(const Step& parent, std::string_view name) const override;
  [[nodiscard]] std::optional<std::uint8_t> everyFile(const Step& parent) const override;

 private:
  const Attribution& categories_;
  const ScanRules& rules_;
};

}  // namespace quarn
