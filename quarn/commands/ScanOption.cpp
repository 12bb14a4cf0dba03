#include "quarn/commands/ScanOption.h"

#include "quarn/terminal/TerminalText.h"

namespace quarn {

void refuseWithScan(const CommandContext& context, std::string_view option, std::string_view reason) {
  if (context.arguments().has(option)) {
    throw UsageError(std::string(option) + " cannot be combined with --scan: " + std::string(reason));
  }
}

FileURL scannedURL(const std::string& text, const Scan& scan) {
  const FileURL& home = scan.facts().home;
  if (text == "~") return home;
  if (text.starts_with("~/")) return home.appending(text.substr(2));
  const std::optional<FileURL> url = FileURL::parse(text);
  if (!url) throw UsageError("\"" + escapedForTerminal(text) + "\" is not an absolute path");
  return *url;
}

FileURL scannedFolder(const std::string& text, const Scan& scan) {
  FileURL url = scannedURL(text, scan);
  if (scan.folder(url.path())) return url;
  throw CommandError(ExitCode::notFound, "the scan does not have the folder " + escapedForTerminal(url.path()));
}

std::vector<FileURL> scannedRoots(const Scan& scan, StorageCategoryID category) {
  std::vector<FileURL> folders;
  const FileURL trash = scan.facts().home.appending(".Trash");
  for (const ScannedRoot& root : scan.roots()) {
    if (root.category == category && root.isListed && root.url != trash && scan.folder(root.url.path()))
      folders.push_back(root.url);
  }
  return folders;
}

std::vector<TopItem> heldItems(ScannedItems::Answer answer, const Scan& scan, CommandContext& context) {
  for (const FileURL& url : answer.missing) context.warn("the scan does not have " + url.path());
  if (!answer.isWhole) {
    context.warn("the scan has only files larger than " + context.size(scan.facts().keptAbove) +
                 "; the list ends before smaller ones");
  }
  return std::move(answer.items);
}

}  // namespace quarn
