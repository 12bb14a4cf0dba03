#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "quarn/sample/SampleItems.h"

namespace quarn::sample {

/// The layout of a bundle and its Info.plist.
enum class Layout : std::uint8_t {
  xml,            ///< Contents/Info.plist as XML
  binary,         ///< Contents/Info.plist in binary form
  withoutInfo,    ///< no Info.plist
  brokenInfo,     ///< a truncated Info.plist
  resourcesInfo,  ///< Resources/Info.plist, an old layout
  supportInfo,    ///< Support Files/Info.plist, a very old one
  wrapped,        ///< an iPhone app: WrappedBundle and a flat bundle in Wrapper
};

/// The form of the entitlements in the signature.
enum class Signing : std::uint8_t { none, xml, der, universal };

/// An app to write. Empty texts omit their keys.
struct App {
  std::string_view path;
  std::string_view identifier{};
  std::string_view name{};
  std::string_view displayName{};
  std::string_view version = "1.0";
  std::string_view executable{};  ///< empty: no key; the file has the name of the bundle
  Layout layout = Layout::xml;
  Signing signing = Signing::none;
  std::string_view groups{};      ///< application groups, separated by spaces
  std::int64_t bytes = 90 * kKB;  ///< size of its resources
};

/// All apps, invented ones first.
std::span<const App> apps();

}  // namespace quarn::sample
