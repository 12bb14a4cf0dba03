#include "QuarnPlatform/files/Packages.h"

#include <algorithm>
#include <array>
#include <string>

#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/text/Text.h"

namespace quarn {
namespace {

// clang-format off
constexpr std::array<std::string_view, 30> kPackageExtensions{
    "app", "appex", "bundle", "plugin", "kext", "xpc", "prefpane", "qlgenerator", "mdimporter", "saver",
    "wdgt", "component", "action", "workflow", "rtfd", "photoslibrary", "musiclibrary", "tvlibrary", "imovielibrary", "fcpbundle",
    "logicx", "band", "sparsebundle", "xcodeproj", "playground", "pkg", "mpkg", "scptd", "dsym", "docset"};
// clang-format on

}  // namespace

bool isPackageName(std::string_view name) {
  const std::string_view extension = path::extension(name);
  if (extension.empty()) return false;
  const std::string lowered = Text::lowercased(extension);
  return std::find(kPackageExtensions.begin(), kPackageExtensions.end(), lowered) != kPackageExtensions.end();
}

}  // namespace quarn
