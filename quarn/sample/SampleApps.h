#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "quarn/sample/SampleItems.h"

namespace quarn::sample {

/// How an app's bundle is laid out and its information written.
enum class Layout : std::uint8_t {
  xml,            ///< Contents/Info.plist as XML
  binary,         ///< Contents/Info.plist in binary form
  withoutInfo,    ///< a copy that lost its Info.plist
  brokenInfo,     ///< an Info.plist that breaks off
  resourcesInfo,  ///< Resources/Info.plist, an old layout
  supportInfo,    ///< Support Files/Info.plist, a very old one
  wrapped,        ///< an app of a phone: WrappedBundle and Wrapper, all flat
};

/// How its program is signed.
enum class Signing : std::uint8_t { none, xml, der, universal };

/// An app to be written. An empty text leaves its key out.
struct App {
  std::string_view path;
  std::string_view identifier{};
  std::string_view name{};
  std::string_view displayName{};
  std::string_view version = "1.0";
  std::string_view executable{};  ///< empty: the bundle's stem, without a key
  Layout layout = Layout::xml;
  Signing signing = Signing::none;
  std::string_view groups{};      ///< application groups, a blank between them
  std::int64_t bytes = 90 * kKB;  ///< of its resources
};

/// The apps of all folders, the invented ones first.
std::span<const App> apps();

}  // namespace quarn::sample
