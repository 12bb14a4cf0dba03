#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace quarn::sample {

inline constexpr std::int64_t kKB = 1000;
inline constexpr std::int64_t kMB = 1000 * kKB;
inline constexpr std::int64_t kGB = 1000 * kMB;

/// The kind of an item.
enum class Form : std::uint8_t {
  file,      ///< `bytes` bytes of content, derived from the path
  settings,  ///< a property list with `bytes` bytes of data
  sparse,    ///< length `bytes`, no space on disk
  text,      ///< the content is `text`
  tool,      ///< an executable script
  folder,    ///< an empty folder
  link,      ///< a symbolic link to `text`
  hardLink,  ///< another name of the file at `text`
};

/// One item of the volume; "~" is the home folder. Omitted fields are zero.
struct Item {
  std::string_view path;
  Form form = Form::file;
  std::int64_t bytes = 0;
  std::string_view text{};
};

/// The user's own data: documents, pictures, music, downloads, other folders in the home folder.
std::span<const Item> userItems();
/// Data of the invented apps in the libraries of the user and the system, and items with similar names.
std::span<const Item> appItems();
/// Data of apps by well-known vendors: office, mail, chat, creative, cloud.
std::span<const Item> vendorItems();
/// Tools, caches and projects of developers.
std::span<const Item> developerItems();
/// Games and their libraries.
std::span<const Item> gameItems();
/// Folders of the system and of other users.
std::span<const Item> systemItems();
/// All kinds of links, names in many scripts, hidden items and names that are not UTF-8.
std::span<const Item> oddItems();

}  // namespace quarn::sample
