#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace quarn::sample {

inline constexpr std::int64_t kKB = 1000;
inline constexpr std::int64_t kMB = 1000 * kKB;
inline constexpr std::int64_t kGB = 1000 * kMB;

/// How an item is written.
enum class Form : std::uint8_t {
  file,      ///< `bytes` bytes of content made from the path
  settings,  ///< a property list that holds `bytes` bytes
  sparse,    ///< `bytes` bytes of length, none on the disk
  text,      ///< the content is `text`
  tool,      ///< an executable script
  folder,    ///< an empty folder
  link,      ///< a symbolic link to `text`
  hardLink,  ///< another name of the file at `text`
};

/// One item of the volume; "~" is the home. What is not said is zero.
struct Item {
  std::string_view path;
  Form form = Form::file;
  std::int64_t bytes = 0;
  std::string_view text{};
};

/// What the user made: documents, pictures, music, downloads, other folders of the home.
std::span<const Item> userItems();
/// What the invented apps left in the libraries of the user and of the system, with what only resembles it.
std::span<const Item> appItems();
/// What well-known vendors' apps leave: office, mail, chat, creative, cloud.
std::span<const Item> vendorItems();
/// Tools, caches and projects of developers.
std::span<const Item> developerItems();
/// Games and their libraries.
std::span<const Item> gameItems();
/// The system's own folders and the other users.
std::span<const Item> systemItems();
/// Links of every kind, names in many scripts, hidden items and names that are no text.
std::span<const Item> oddItems();

}  // namespace quarn::sample
