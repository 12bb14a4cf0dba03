#include "quarn/commands/ScanOption.h"

#include "quarn/terminal/TerminalText.h"

namespace quarn {

void refuseWithScan(const CommandContext& context, std::string_view option, std::string_view reason) {
  if (context.arguments().has(option)) {
    throw UsageError(std::string(option) + " cannot be combined with --scan: " + std::string(reason));
  }
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
