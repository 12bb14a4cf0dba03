#pragma once

#include <vector>

#include "QuarnCore/scans/ScannedItems.h"
#include "quarn/commands/CommandContext.h"
#include "quarn/commands/CommandRow.h"

namespace quarn {

/// The option of the commands that can answer from a scan.
inline constexpr OptionRow kScanOption{.name = "--scan",
                                       .argument = "FILE",
                                       .help = "Answer from FILE, which \"quarn scan\" has written",
                                       .isHostPath = true,
                                       .excludes = "--volume|--home"};

/// Refuses, as a usage error, an option that a scan has no answer for.
void refuseWithScan(const CommandContext& context, std::string_view option, std::string_view reason);
/// The same for the filters and the order by age; `missing` says which times the scan does not have.
void refuseAgesWithScan(const CommandContext& context, std::string_view missing);

/// Says that changes come from another choice of users, if one of the scans is of all users and the other is not.
void warnIfUsersDiffer(const Scan& before, const Scan& after, CommandContext& context);

/// The home folder of a scan, or those of all users that are in no other one.
std::vector<FileURL> scannedHomes(const Scan& scan);
/// The home folder of a scan, or the folder that has those of all users.
FileURL scannedHomeOfAll(const Scan& scan);
/// A path argument as a path on the Mac at the time of the scan. Throws UsageError if it is not absolute.
FileURL scannedURL(const std::string& text, const Scan& scan);
/// The folder of a scan at a path; "~" is the home folder at the time of the scan. Throws UsageError for a relative
/// path, for "~" in a scan of all users, and CommandError if the scan does not have the folder.
FileURL scannedFolder(const std::string& text, const Scan& scan);
/// The folders of a category that are searched for the largest items, each once. Some may be inside others.
std::vector<FileURL> scannedRoots(const Scan& scan, StorageCategoryID category);

/// The items of an answer. Says on standard error what the scan does not have.
std::vector<TopItem> heldItems(ScannedItems::Answer answer, const Scan& scan, CommandContext& context);

}  // namespace quarn
