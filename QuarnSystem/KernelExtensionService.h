#pragma once

#include <functional>
#include <vector>

#include "QuarnModels/SystemRecords.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnSystem/FileSizeCalculator.h"

namespace quarn {

/// Lists installed kernel extensions. A plain value; a test or a shell may replace the function.
struct KernelExtensionService {
  /// Extensions in /Library/Extensions and, with `includeMacOS`, in /System/Library/Extensions, names ascending, each
  /// followed by those in its Contents/PlugIns, one level deep. Without `includeMacOS` the system's own (in /System, or
  /// an identifier that begins with "com.apple.") are left out, each judged by itself. An extension is a folder, no
  /// link to one, whose extension is "kext". Name: CFBundleName, else the bundle's stem. Size: without hidden items, as
  /// every artifact is sized; absent when it cannot be had. Cannot fail.
  std::function<std::vector<KernelExtensionInfo>(bool includeMacOS)> installedKernelExtensions;

  static KernelExtensionService live(FileManager files, FileSizeCalculator sizes);
  /// The same, each of the two lists read and sized once, when it is first asked for. Safe to use from several threads.
  static KernelExtensionService snapshot(FileManager files, FileSizeCalculator sizes);
};

}  // namespace quarn
