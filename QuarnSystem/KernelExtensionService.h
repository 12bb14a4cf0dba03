#pragma once

#include <functional>
#include <vector>

#include "QuarnModels/SystemRecords.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnSystem/FileSizeCalculator.h"

namespace quarn {

/// Lists installed kernel extensions. Replaceable, for example in tests.
struct KernelExtensionService {
  /// The extensions in /Library/Extensions and, with `includeMacOS`, in /System/Library/Extensions, in ascending
  /// order of their names, each followed by those in its Contents/PlugIns, one level deep. Without `includeMacOS`,
  /// skips each extension that is in /System or has an identifier that begins with "com.apple.". An extension is a
  /// folder (not a link) with the extension "kext". The name is CFBundleName, else the name of the bundle without
  /// extension. The size excludes hidden items, like those of all artifacts; absent if it cannot be computed. Cannot
  /// fail.
  std::function<std::vector<KernelExtensionInfo>(bool includeMacOS)> installedKernelExtensions;

  static KernelExtensionService live(FileManager files, FileSizeCalculator sizes);
  /// The same, but reads and sizes each of the two lists only once, on first use. Thread-safe.
  static KernelExtensionService snapshot(FileManager files, FileSizeCalculator sizes);
};

}  // namespace quarn
