#pragma once

#include <functional>
#include <vector>

#include "QuarnModels/SystemRecords.h"
#include "QuarnPlatform/FileManager.h"
#include "QuarnSystem/FileSizeCalculator.h"

namespace quarn {

/// Lists installed kernel extensions. A plain value; a test or a shell may replace the function.
struct KernelExtensionService {
  /// Extensions in /Library/Extensions and, with `includeMacOS`, in /System/Library/Extensions, names ascending, each
  /// followed by those in its Contents/PlugIns. Without `includeMacOS` the system's own (in /System, or an identifier
  /// that begins with "com.apple.") are left out. Cannot fail.
  std::function<std::vector<KernelExtensionInfo>(bool includeMacOS)> installedKernelExtensions;

  static KernelExtensionService live(FileManager files, FileSizeCalculator sizes);
};

}  // namespace quarn
