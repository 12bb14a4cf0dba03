#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "QuarnPlatform/files/ItemFacts.h"

namespace quarn {

/// An item as its folder lists it, in eight bytes, for a folder may hold millions: the type, and where among the
/// folder's names the item's own stands. A plain value.
class ListedItem {
 public:
  struct Marks {
    bool isPackage = false;
    bool isHidden = false;
  };

  /// A NUL stands behind the name's end.
  ListedItem(std::size_t nameAt, std::size_t nameLength, FileType type, Marks marks)
      : bits_(std::uint64_t{nameAt} << kNameAt | std::uint64_t{nameLength} << kNameLength |
              std::uint64_t{marks.isHidden} << kHidden | std::uint64_t{marks.isPackage} << kPackage |
              static_cast<std::uint64_t>(type)) {}
  /// The same item with its name in other names.
  [[nodiscard]] ListedItem movedTo(std::size_t nameAt) const {
    ListedItem moved = *this;
    moved.bits_ = std::uint64_t{nameAt} << kNameAt | (bits_ & ((std::uint64_t{1} << kNameAt) - 1));
    return moved;
  }

  [[nodiscard]] std::size_t nameAt() const { return bits_ >> kNameAt; }
  [[nodiscard]] std::size_t nameLength() const { return bits_ >> kNameLength & 0x7FFF; }
  [[nodiscard]] FileType type() const { return static_cast<FileType>(bits_ & 0x7); }
  /// By its name.
  [[nodiscard]] bool isPackage() const { return (bits_ >> kPackage & 1) != 0; }
  /// See `HiddenItems`.
  [[nodiscard]] bool isHidden() const { return (bits_ >> kHidden & 1) != 0; }

  [[nodiscard]] std::string_view nameIn(const std::string& names) const {
    return {names.data() + nameAt(), nameLength()};
  }

 private:
  static constexpr int kPackage = 3;
  static constexpr int kHidden = 4;
  static constexpr int kNameLength = 5;
  static constexpr int kNameAt = 20;

  std::uint64_t bits_;
};

}  // namespace quarn
