#include "quarn/terminal/OwnerText.h"

namespace quarn {
namespace {

constexpr std::int64_t kShownOwners = 3;

std::string sharersText(const Ownership& ownership) {
  const auto count = static_cast<std::int64_t>(ownership.owners.size()) + ownership.ownersLeftOut;
  std::string text;
  for (std::size_t i = 0; i < ownership.owners.size() && i < kShownOwners; ++i) {
    text += (i == 0 ? "" : ", ") + ownership.owners[i].appName;
  }
  return count > kShownOwners ? text + " and " + std::to_string(count - kShownOwners) + " more" : text;
}

}  // namespace

std::string ownerText(const Ownership& ownership) {
  switch (ownership.status) {
    case OwnershipStatus::owned:
    case OwnershipStatus::shared: return sharersText(ownership);
    case OwnershipStatus::system: return "macOS";
    case OwnershipStatus::orphaned:
      return ownership.formerOwner ? ownership.formerOwner->name + " (not installed)" : "not installed";
    case OwnershipStatus::unknown: break;
  }
  return "–";
}

}  // namespace quarn
