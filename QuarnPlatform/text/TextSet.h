#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace quarn {

/// Searches a text for many parts at once, by the rules of `Text::contains`. The time does not grow with the number of
/// parts. Takes about twenty bytes of memory for each byte of the parts. Immutable; safe from any thread.
class TextSet {
 public:
  TextSet() = default;
  /// No text contains an empty part.
  explicit TextSet(std::vector<std::string> parts);

  [[nodiscard]] const std::vector<std::string>& parts() const { return parts_; }

  /// Calls `found` with the position of each part that the text contains, once each, in no particular order.
  void findIn(std::string_view text, const std::function<void(std::uint32_t part)>& found) const;

 private:
  // A node of the trie of all parts. The children of a node are a list; those of the root are also a table.
  struct Node {
    std::uint32_t firstChild = kNone;
    std::uint32_t nextSibling = kNone;
    std::uint32_t suffix = 0;       ///< the longest proper suffix of its text in the trie
    std::uint32_t output = kNone;   ///< the first part that ends here
    std::uint32_t shorter = kNone;  ///< the nearest suffix that has an output
    unsigned char byte = 0;
  };
  static constexpr std::uint32_t kNone = UINT32_MAX;

  void insert(std::string_view text, std::uint32_t part);
  void link();
  [[nodiscard]] std::uint32_t child(std::uint32_t node, unsigned char byte) const;
  [[nodiscard]] std::uint32_t step(std::uint32_t node, unsigned char byte) const;

  std::vector<std::string> parts_;
  std::vector<Node> nodes_ = std::vector<Node>(1);
  std::array<std::uint32_t, 256> rootChildren_{};
  std::vector<std::uint32_t> sameText_;  ///< of each part, the next one with the same composed text
};

}  // namespace quarn
