#include "quarn/rpc/Methods.h"

namespace quarn {
namespace {

std::vector<TopItem> children(const Context& context, const FolderOrFolders& in, bool allowSlow, bool includeHidden) {
  const auto list = [&](const auto& folders) {
    return context.services.topItems().children(folders, allowSlow, includeHidden, context.request.cancellation);
  };
  return std::visit(list, in);
}

std::vector<TopItem> topChildren(const Context& context, const FolderOrFolders& in, std::int64_t limit, bool allowSlow,
                                 bool includeHidden) {
  const auto list = [&](const auto& folders) {
    return context.services.topItems().topChildren(folders, limit, allowSlow, includeHidden,
                                                   context.request.cancellation);
  };
  return std::visit(list, in);
}

std::vector<TopItem> topFiles(const Context& context, const FolderOrFolders& in, std::int64_t limit,
                              bool includeHidden) {
  const auto list = [&](const auto& folders) {
    return context.services.topItems().topFiles(folders, limit, includeHidden, context.request.cancellation);
  };
  return std::visit(list, in);
}

std::vector<TopItem> sizedItems(const Context& context, const std::vector<FileURL>& urls, std::int64_t limit,
                                bool allowSlow, bool includeHidden) {
  return context.services.topItems().sizedItems(urls, limit, allowSlow, includeHidden, context.request.cancellation);
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
  return context.services.topItems().topFilesRecursively(in, options, context.request.cancellation);
}

CloudStorageSummary cloudSummary(const Context& context, const std::vector<FileURL>& in, std::int64_t maxDepth,
                                 std::int64_t maxVisited, bool allowSlowForPackages) {
  return context.services.topItems().cloudSummary(in, maxDepth, maxVisited, allowSlowForPackages,
                                                  context.request.cancellation);
}

// clang-format off
constexpr std::array kFolderMethods{
    method<&children>("TopItemsService.children", "in", "allowSlow", "includeHidden"),
    method<&topChildren>("TopItemsService.topChildren", "in", "limit", "allowSlow", "includeHidden"),
    method<&topFiles>("TopItemsService.topFiles", "in", "limit", "includeHidden"),
    method<&sizedItems>("TopItemsService.sizedItems", "urls", "limit", "allowSlow", "includeHidden"),
    method<&topFilesRecursively>("TopItemsService.topFilesRecursively", "in", "limit", "maxDepth", "maxVisited", "allowSlowForPackages", "includeHidden", "preferAllocatedSize"),
    method<&cloudSummary>("TopItemsService.cloudSummary", "in", "maxDepth", "maxVisited", "allowSlowForPackages"),
};
// clang-format on

}  // namespace

std::span<const MethodRow> folderMethods() { return kFolderMethods; }

}  // namespace quarn
