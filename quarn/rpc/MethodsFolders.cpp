#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/rpc/Growth.h"
#include "quarn/rpc/Methods.h"

namespace quarn {
namespace {

// A missing folder has no items, which is not an error; the record of unread items names it.
void noteMissing(const Context& context, const FileURL& folder) {
  const FileManager& files = context.services.files;
  try {
    (void)files.requireFacts(folder, Links::follow);
  } catch (const FileError& error) {
    if (meansMissing(error.error())) files.note(folder, error.error());
  }
}

void noteMissing(const Context& context, const std::vector<FileURL>& folders) {
  for (const FileURL& folder : folders) noteMissing(context, folder);
}

/// Runs an operation of the service on one folder or several.
template <class Operation>
std::vector<TopItem> listed(const Context& context, const FolderOrFolders& in, const Operation& operation) {
  std::visit([&](const auto& folders) { noteMissing(context, folders); }, in);
  ItemsGrowth growth(context.request);
  const TopItemsService service = growth.watched(context.services.topItems());
  return growth.finish(std::visit([&](const auto& folders) { return operation(service, folders); }, in));
}

std::vector<TopItem> children(const Context& context, const FolderOrFolders& in, bool allowSlow, bool includeHidden) {
  return listed(context, in, [&](const TopItemsService& service, const auto& folders) {
    return service.children(folders, allowSlow, includeHidden, context.request.cancellation);
  });
}

std::vector<TopItem> topChildren(const Context& context, const FolderOrFolders& in, std::int64_t limit, bool allowSlow,
                                 bool includeHidden) {
  return listed(context, in, [&](const TopItemsService& service, const auto& folders) {
    return service.topChildren(folders, limit, allowSlow, includeHidden, context.request.cancellation);
  });
}

std::vector<TopItem> topFiles(const Context& context, const FolderOrFolders& in, std::int64_t limit,
                              bool includeHidden) {
  return listed(context, in, [&](const TopItemsService& service, const auto& folders) {
    return service.topFiles(folders, limit, includeHidden, context.request.cancellation);
  });
}

std::vector<TopItem> sizedItems(const Context& context, const std::vector<FileURL>& urls, std::int64_t limit,
                                bool allowSlow, bool includeHidden) {
  noteMissing(context, urls);
  ItemsGrowth growth(context.request);
  return growth.finish(growth.watched(context.services.topItems())
                           .sizedItems(urls, limit, allowSlow, includeHidden, context.request.cancellation));
}

std::vector<TopItem> topFilesRecursively(const Context& context, const std::vector<FileURL>& in, std::int64_t limit,
                                         std::int64_t maxDepth, std::int64_t maxVisited, bool allowSlowForPackages,
                                         bool includeHidden, bool preferAllocatedSize) {
  const TopItemsService::SearchOptions options{.limit = limit,
                                               .maxDepth = maxDepth,
                                               .maxVisited = maxVisited,
                                               .allowSlowForPackages = allowSlowForPackages,
                                               .includeHidden = includeHidden,
                                               .preferAllocatedSize = preferAllocatedSize};
  noteMissing(context, in);
  ItemsGrowth growth(context.request);
  return growth.finish(
      growth.watched(context.services.topItems()).topFilesRecursively(in, options, context.request.cancellation));
}

CloudStorageSummary cloudSummary(const Context& context, const std::vector<FileURL>& in, std::int64_t maxDepth,
                                 std::int64_t maxVisited, bool allowSlowForPackages) {
  noteMissing(context, in);
  return context.services.topItems().cloudSummary(in, maxDepth, maxVisited, allowSlowForPackages,
                                                  context.request.cancellation);
}

// clang-format off
constexpr std::array kFolderMethods{
    methodWithProgress<&children, ItemsProgress>("TopItemsService.children", "in", "allowSlow", "includeHidden"),
    methodWithProgress<&topChildren, ItemsProgress>("TopItemsService.topChildren", "in", "limit", "allowSlow", "includeHidden"),
    methodWithProgress<&topFiles, ItemsProgress>("TopItemsService.topFiles", "in", "limit", "includeHidden"),
    methodWithProgress<&sizedItems, ItemsProgress>("TopItemsService.sizedItems", "urls", "limit", "allowSlow", "includeHidden"),
    methodWithProgress<&topFilesRecursively, ItemsProgress>("TopItemsService.topFilesRecursively", "in", "limit", "maxDepth", "maxVisited", "allowSlowForPackages", "includeHidden", "preferAllocatedSize"),
    method<&cloudSummary>("TopItemsService.cloudSummary", "in", "maxDepth", "maxVisited", "allowSlowForPackages"),
};
// clang-format on

}  // namespace

std::span<const MethodRow> folderMethods() { return kFolderMethods; }

}  // namespace quarn
