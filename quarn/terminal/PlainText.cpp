#include "quarn/terminal/PlainText.h"

#include <array>

#include "QuarnPlatform/resources/Localization.h"

namespace quarn {
namespace {

/// A sentence of the library, and the sentence for users.
struct PlainTextRow {
  std::string_view record{};
  std::string_view shown{};
};

// clang-format off
constexpr std::array kPlainTexts{
    PlainTextRow{.record = "Source: Layer C (Vendor Inspector)", .shown = "Source: what is known of this vendor"},
    PlainTextRow{.record = "Vendor-Profil", .shown = "Vendor profile"},
    PlainTextRow{.record = "Only cache/rebuildable data (best effort).",
                 .shown = "Only caches and other data that the app can recreate."},
    PlainTextRow{.record = "Cache + (later) sync-restorable related items, without deleting local unsynced data.",
                 .shown = "Caches, and data that a sync restores. Local data that is not synced stays."},
    PlainTextRow{.record = "No app-specific sync rules yet: “Related Items” currently mostly includes cache/rebuildable data.", .shown = "Nothing is known of what a sync restores for this app, so mostly caches are selected."},
};

// In the order of the cases.
constexpr std::array<std::string_view, 6> kStepTitles{
    "Open the uninstaller", "Move to the Trash", "Move to quarantine", "Delete permanently", "Disable launch services", "Quit the app"};
// clang-format on
static_assert(kStepTitles.size() == RawValues<RemovalOperationPreview::Type>::kStrings.size());

}  // namespace

std::string_view stepTitle(RemovalOperationPreview::Type type) { return kStepTitles[static_cast<std::size_t>(type)]; }

std::string plainText(std::string_view recordText) {
  std::string text(recordText);
  for (const PlainTextRow& row : kPlainTexts) {
    const std::string record = localized(row.record);
    const std::string shown = localized(row.shown);
    for (std::size_t at = text.find(record); at != std::string::npos; at = text.find(record, at + shown.size())) {
      text.replace(at, record.size(), shown);
    }
  }
  return text;
}

}  // namespace quarn
