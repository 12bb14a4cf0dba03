#include "quarn/terminal/UnreadSummary.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <tuple>
#include <utility>

#include "QuarnPlatform/base/FileError.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "QuarnPlatform/text/Text.h"
#include "quarn/terminal/CountText.h"

namespace quarn {
namespace {

struct CauseRow {
  UnreadableCause cause;
  std::string_view id;
  std::string_view meaning;
  bool isLoss;  ///< the result lacks data that is on the volume
};

// clang-format off
constexpr std::array kCauses{
    CauseRow{.cause = UnreadableCause::permission, .id = "permission", .meaning = "permission denied", .isLoss = true},
    CauseRow{.cause = UnreadableCause::vanished, .id = "vanished", .meaning = "vanished while being read",
             .isLoss = false},
    CauseRow{.cause = UnreadableCause::otherDevice, .id = "otherDevice", .meaning = "on another device, not entered",
             .isLoss = false},
    CauseRow{.cause = UnreadableCause::loop, .id = "loop", .meaning = "symbolic link loop", .isLoss = true},
    CauseRow{.cause = UnreadableCause::limit, .id = "limit", .meaning = "beyond a limit of this program",
             .isLoss = true},
    CauseRow{.cause = UnreadableCause::other, .id = "other", .meaning = "could not be read", .isLoss = true},
    CauseRow{.cause = UnreadableCause::privacy, .id = "privacy", .meaning = "refused by privacy protection",
             .isLoss = true},
    CauseRow{.cause = UnreadableCause::onlyInCloud, .id = "onlyInCloud",
             .meaning = "only in the cloud, not downloaded", .isLoss = false},
};
// clang-format on

constexpr bool rowsFollowTheCauses() {
  for (std::size_t i = 0; i < kCauses.size(); ++i) {
    if (static_cast<std::size_t>(kCauses[i].cause) != i) return false;
  }
  return kCauses.size() == kUnreadableCauses;
}
static_assert(rowsFollowTheCauses(), "kCauses must have the order of UnreadableCause");

}  // namespace

std::uint64_t UnreadSummary::count() const {
  std::uint64_t sum = 0;
  for (const Cause& cause : causes) sum += cause.count;
  return sum;
}

bool UnreadSummary::isIncomplete() const {
  for (std::size_t i = 0; i < causes.size(); ++i) {
    if (kCauses[i].isLoss && causes[i].count > 0) return true;
  }
  return false;
}

UnreadSummary unreadSummary(const ReadReport& report) {
  UnreadSummary summary{.causes = {}, .items = report.items()};
  std::sort(summary.items.begin(), summary.items.end(), [](const UnreadableItem& left, const UnreadableItem& right) {
    return std::tie(left.path, left.cause) < std::tie(right.path, right.cause);
  });
  for (const CauseRow& row : kCauses)
    summary.causes.push_back({row.id, row.meaning, remedyFor(row.cause), report.count(row.cause)});
  return summary;
}

std::string_view causeID(UnreadableCause cause) { return kCauses[static_cast<std::size_t>(cause)].id; }

std::string causeLine(const UnreadSummary::Cause& cause) {
  return countText(cause.count, "item") + ": " + std::string(cause.meaning);
}

std::string noteLine(const UnreadSummary& summary, const UnreadSummary::Cause& cause, bool areListed) {
  std::string line = causeLine(cause);
  std::string advice(cause.remedy);
  const auto item = std::find_if(summary.items.begin(), summary.items.end(),
                                 [&](const UnreadableItem& any) { return causeID(any.cause) == cause.id; });
  if (!areListed && item != summary.items.end()) line += (cause.count == 1 ? ": " : ", such as ") + item->path;
  if (!areListed && cause.count > 1) advice += std::string(advice.empty() ? "" : "; ") + "use --verbose to list them";
  return advice.empty() ? line : line + " (" + advice + ")";
}

std::string itemLine(const UnreadableItem& item) {
  const std::string line = std::string(causeID(item.cause)) + ": " + item.path;
  return item.cause == UnreadableCause::other ? line + ": " + std::strerror(item.error) : line;
}

nlohmann::ordered_json toJSON(const UnreadSummary& summary) {
  nlohmann::ordered_json counts = nlohmann::ordered_json::object();
  for (const UnreadSummary::Cause& cause : summary.causes) counts[std::string(cause.id)] = cause.count;
  nlohmann::ordered_json items = nlohmann::ordered_json::array();
  for (const UnreadableItem& item : summary.items) {
    items.push_back({{"path", Text::validUTF8(item.path)},
                     {"cause", causeID(item.cause)},
                     {"errno", item.error},
                     {"name", item.error == 0 ? "" : errnoName(item.error)}});
  }
  return {{"count", summary.count()}, {"causes", std::move(counts)}, {"items", std::move(items)}};
}

}  // namespace quarn
