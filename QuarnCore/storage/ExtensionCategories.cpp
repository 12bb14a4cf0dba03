#include "QuarnCore/storage/ExtensionCategories.h"

#include <algorithm>
#include <utility>

#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/text/ASCII.h"
#include "QuarnPlatform/text/Text.h"

namespace quarn {
namespace {

// Lower-casing shortens a text at most to a third of its bytes: the Kelvin sign takes three bytes, "k" one.
constexpr std::size_t kMostShrinking = 3;

// By byte: an ASCII letter in lower case or a digit; 0 for all others.
constexpr std::array<std::uint8_t, 256> kUsualBytes = [] {
  std::array<std::uint8_t, 256> bytes{};
  for (std::size_t byte = 0; byte < 128; ++byte) {
    const char letter = static_cast<char>(byte);
    if (ascii::isLetterOrDigit(letter)) bytes[byte] = static_cast<std::uint8_t>(ascii::lowercased(letter));
  }
  return bytes;
}();

}  // namespace

ExtensionCategories::ExtensionCategories(Dictionary categories) : categories_(std::move(categories)) {
  for (const auto& [extension, category] : categories_) {
    longest_ = std::max(longest_, extension.size());
    const std::string name = "name." + extension;
    if (path::extension(name) != extension) continue;
    if (const std::optional<Key> key = usualKey(name)) {
      usual_.push_back({*key, category});
      isUsualHere_[placeOf(*key)] = true;
    }
  }
  std::sort(usual_.begin(), usual_.end(), [](const Usual& left, const Usual& right) { return left.key < right.key; });
  isEmptyKnown_ = categories_.contains("");
}

// Absent if the name has no usual extension.
std::optional<ExtensionCategories::Key> ExtensionCategories::usualKey(std::string_view name) {
  Key key = 0;
  const std::size_t most = std::min(name.size(), sizeof(Key) + 1);
  for (std::size_t length = 0; length < most; ++length) {
    const std::size_t at = name.size() - 1 - length;
    const std::uint8_t byte = kUsualBytes[static_cast<unsigned char>(name[at])];
    if (byte != 0) {
      key = key << 8 | byte;  // a ninth byte pushes out the first; but then no key is returned
      continue;
    }
    // If the name begins with a dot, there may be nothing but dots before the extension, and then it is none.
    return name[at] == '.' && name[0] != '.' ? std::optional(key) : std::nullopt;
  }
  return std::nullopt;
}

std::size_t ExtensionCategories::placeOf(Key key) { return key * 0x9E3779B97F4A7C15U >> 54U; }

std::optional<StorageCategoryID> ExtensionCategories::find(std::string_view name) const {
  const std::optional<Key> key = usualKey(name);
  if (!key) return findUnusual(name);
  if (!isUsualHere_[placeOf(*key)]) return std::nullopt;
  const auto isBefore = [](const Usual& usual, Key wanted) { return usual.key < wanted; };
  const auto found = std::lower_bound(usual_.begin(), usual_.end(), *key, isBefore);
  return found != usual_.end() && found->key == *key ? std::optional(found->category) : std::nullopt;
}

std::optional<StorageCategoryID> ExtensionCategories::findUnusual(std::string_view name) const {
  const std::size_t longestHere = longest_ * kMostShrinking;
  // Without a dot near its end, the name has no extension, or one that is too long to be known.
  const std::size_t near = name.size() - std::min(name.size(), longestHere + 1);
  if (!isEmptyKnown_ && name.find('.', near) == std::string_view::npos) return std::nullopt;
  const auto found = categories_.find(Text::lowercased(path::extension(name)));
  return found == categories_.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace quarn
