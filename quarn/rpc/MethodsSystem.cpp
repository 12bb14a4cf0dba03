#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/rpc/Growth.h"
#include "quarn/rpc/Methods.h"

namespace quarn {
namespace {

SizeInfo itemSize(const Context& context, const FileURL& at, const std::optional<std::vector<FileURL>>& excluding,
                  bool allowSlow, bool includeHidden) {
  const std::vector<FileURL> excluded = excluding.value_or(std::vector<FileURL>());
  SizeGrowth growth(context.request);
  const FileSizeCalculator sizes = growth.watched(context.services.fileSizeCalculator, context.services.files);
  return growth.finish(sizes.itemSizeExcluding(at, excluded, allowSlow, includeHidden, context.request.cancellation));
}

SizeInfo enumeratingDirectorySize(const Context& context, const FileURL& at, bool includeHidden) {
  SizeGrowth growth(context.request);
  const FileSizeCalculator sizes = growth.watched(context.services.fileSizeCalculator, context.services.files);
  return growth.finish(sizes.enumeratingDirectorySize(at, includeHidden, context.request.cancellation));
}

std::optional<SizeInfo> resourceSize(const Context& context, const FileURL& at) {
  return context.services.fileSizeCalculator.resourceSize(at);
}

EntitlementsInfo readEntitlements(const Context& context, const FileURL& forAppAt) {
  return context.services.entitlementsReader.readEntitlements(forAppAt);
}

std::vector<LaunchdEntry> scanLaunchd(const Context& context) { return context.services.launchdScanner.scan(); }

std::vector<ReceiptInfo> allReceipts(const Context& context) { return context.services.receiptScanner.allReceipts(); }

std::vector<ReceiptInfo> receiptsMatching(const Context& context, const AppEntity& app) {
  return context.services.receiptScanner.receiptsMatching(app);
}

std::vector<std::string> packageIDs(const Context& context, const std::string& forFileAtPath) {
  // A path is text, so only a URL can hold a name that is not UTF-8.
  const std::optional<FileURL> url = forFileAtPath.starts_with("file:") ? FileURL::parse(forFileAtPath) : std::nullopt;
  return context.services.receiptScanner.packageIDs(url ? url->path() : forFileAtPath);
}

bool matchesPackage(const Context& context, const AppEntity& app, const std::string& packageID) {
  return context.services.receiptScanner.matches(app, packageID);
}

std::vector<KernelExtensionInfo> installedKernelExtensions(const Context& context, bool includeMacOS) {
  return context.services.kernelExtensionService.installedKernelExtensions(includeMacOS);
}

VolumeInfo systemVolume(const Context& context) { return context.services.volumeInfoClient.systemVolume(); }

bool isExternal(const Context& context, const FileURL& url) {
  return context.services.volumeLocationChecker.isExternal(url);
}

FileURL quarantineFolder(const Context& context) { return context.services.quarantineManager.baseURL(); }

// clang-format off
constexpr std::array kSystemMethods{
    methodWithProgress<&itemSize, SizeProgress>("FileSizeCalculator.itemSize", "at", "excluding", "allowSlow", "includeHidden"),
    methodWithProgress<&enumeratingDirectorySize, SizeProgress>("FileSizeCalculator.enumeratingDirectorySize", "at", "includeHidden"),
    method<&resourceSize>("FileSizeCalculator.resourceSize", "at"),
    method<&readEntitlements>("EntitlementsReader.readEntitlements", "forAppAt"),
    method<&scanLaunchd>("LaunchdScanner.scan"),
    method<&allReceipts>("ReceiptScanner.allReceipts"),
    method<&receiptsMatching>("ReceiptScanner.receiptsMatching", "app"),
    method<&packageIDs>("ReceiptScanner.packageIDs", "forFileAtPath"),
    method<&matchesPackage>("ReceiptScanner.matches", "app", "packageID"),
    method<&installedKernelExtensions>("KernelExtensionService.installedKernelExtensions", "includeMacOS"),
    method<&systemVolume>("VolumeInfoClient.systemVolume"),
    method<&isExternal>("VolumeLocationChecker.isExternal", "url"),
    method<&quarantineFolder>("QuarantineManager.baseURL"),
};
// clang-format on

}  // namespace

std::span<const MethodRow> systemMethods() { return kSystemMethods; }

}  // namespace quarn
