#include "QuarnSystem/KernelExtensionService.h"

#include <memory>
#include <mutex>
#include <string_view>
#include <utility>

#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/text/Text.h"
#include "QuarnSystem/BundleInfo.h"

namespace quarn {
namespace {

constexpr std::string_view kFolder = "/Library/Extensions";
constexpr std::string_view kSystemFolder = "/System/Library/Extensions";
constexpr std::string_view kPlugInFolder = "Contents/PlugIns";
constexpr std::string_view kSystemIdentifierPrefix = "com.apple.";

std::vector<FileURL> extensionsIn(const FileManager& files, const FileURL& folder) {
  std::vector<FileURL> found;
  for (DirectoryEntry& entry : files.contentsOrNone(folder, HiddenItems::include)) {
    const bool isExtension = entry.type == FileType::directory && Text::lowercased(entry.url.pathExtension()) == "kext";
    if (isExtension) found.push_back(std::move(entry.url));
  }
  return found;
}

std::optional<SizeInfo> sizeIfPossible(const FileSizeCalculator& sizes, const FileURL& bundle) {
  try {
    return sizes.itemSize(bundle, /*allowSlow=*/true, /*includeHidden=*/false);
  } catch (const FileError&) {
    return std::nullopt;
  }
}

// One listing of installed extensions. The size is what costs, so it is asked for only when the extension is listed.
class Listing {
 public:
  Listing(const FileManager& files, const FileSizeCalculator& sizes, bool includeMacOS)
      : files_(files.forOneOperation()), sizes_(sizes), includeMacOS_(includeMacOS) {}

  std::vector<KernelExtensionInfo> extensions() {
    addFolder(FileURL(kFolder));
    if (includeMacOS_) addFolder(FileURL(kSystemFolder));
    return std::move(found_);
  }

 private:
  // The system looks for plug-ins one level deep only, and so does this.
  void addFolder(const FileURL& folder) {
    for (const FileURL& extension : extensionsIn(files_, folder)) {
      add(extension);
      for (const FileURL& plugIn : extensionsIn(files_, extension.appending(kPlugInFolder))) add(plugIn);
    }
  }

  void add(const FileURL& bundle) {
    BundleInfo info = readBundleInfo(files_, bundle);
    const bool isSystemOwn = info.identifier && info.identifier->starts_with(kSystemIdentifierPrefix);
    if (isSystemOwn && !includeMacOS_) return;
    found_.push_back({.name = info.name ? std::move(*info.name) : std::string(path::stem(bundle.path())),
                      .bundleIdentifier = std::move(info.identifier),
                      .url = bundle,
                      .version = std::move(info.version),
                      .size = sizeIfPossible(sizes_, bundle)});
  }

  const FileManager files_;
  const FileSizeCalculator& sizes_;
  bool includeMacOS_;
  std::vector<KernelExtensionInfo> found_;
};

}  // namespace

KernelExtensionService KernelExtensionService::live(FileManager files, FileSizeCalculator sizes) {
  return {.installedKernelExtensions = [files = std::move(files), sizes = std::move(sizes)](bool includeMacOS) {
    return Listing(files, sizes, includeMacOS).extensions();
  }};
}

KernelExtensionService KernelExtensionService::snapshot(FileManager files, FileSizeCalculator sizes) {
  struct Kept {
    std::once_flag once;
    std::vector<KernelExtensionInfo> extensions;
  };
  struct Lists {
    Kept others;
    Kept all;
  };
  return {.installedKernelExtensions = [files = std::move(files), sizes = std::move(sizes),
                                        lists = std::make_shared<Lists>()](bool includeMacOS) {
    Kept& kept = includeMacOS ? lists->all : lists->others;
    std::call_once(kept.once, [&] { kept.extensions = Listing(files, sizes, includeMacOS).extensions(); });
    return kept.extensions;
  }};
}

}  // namespace quarn
