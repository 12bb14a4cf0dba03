#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "QuarnModels/Date.h"
#include "QuarnModels/Storage.h"
#include "quarn/commands/CommandContext.h"
#include "quarn/commands/FilterTable.h"

namespace quarn {

/// "10MB", "1.5GiB" or a number of bytes. Throws UsageError.
std::int64_t bytesOption(std::string_view option, const std::string& text);
/// "90d": a number and d, w, m or y. Throws UsageError.
std::chrono::days ageOption(std::string_view option, const std::string& text);

/// True if a path matches a pattern of --exclude. A pattern that begins with "/" or "~" matches the item with that path
/// and everything in it; another one matches anywhere in the path. "*" matches any text in one name.
bool isExcludedBy(std::string_view pattern, const FileURL& url, const FileURL& home);

/// What filters ask of a row. A value that a row does not have is absent; such a row does not match a filter for it.
struct RowFacts {
  std::string name{};
  std::optional<std::int64_t> bytes{};  ///< on disk
  std::vector<FileURL> urls{};
  std::optional<Date> modified{};
  std::vector<std::string> owners{};  ///< names and bundle identifiers
  std::optional<StorageCategoryID> category{};
};

/// The rows that a list does not show.
struct LeftOut {
  std::int64_t rows = 0;
  std::optional<std::int64_t> bytes = 0;  ///< on disk, of the rows with a known size; absent if no row has one
  bool isExact = true;                    ///< false if there may be more, because a scan lacks small files

  void add(const LeftOut& more);
};

/// The filters that the command line asks for, applied to one list. Make it before the volume is read: it throws
/// UsageError for a value that is not valid.
class ListFilters {
 public:
  /// `usualLimit` holds without --limit.
  explicit ListFilters(CommandContext& context, std::optional<long> usualLimit = std::nullopt);

  [[nodiscard]] bool has(Filter filter) const;
  /// True if a filter asks for dates, which may cost a look-up per row.
  [[nodiscard]] bool asksForAge() const;
  /// True if a filter may leave out rows because of what they are, not because of their number. --category does not
  /// count: a list that takes it reads the folders of that category alone, or knows the category of each row.
  [[nodiscard]] bool chooses() const;
  [[nodiscard]] std::optional<long> limit() const { return limit_; }
  [[nodiscard]] std::optional<StorageCategoryID> category() const { return category_; }
  /// When an item was changed; absent if no filter asks, or on a scan.
  [[nodiscard]] std::optional<Date> modifiedAt(const FileURL& url) const;

  [[nodiscard]] bool accepts(const RowFacts& row) const;
  [[nodiscard]] bool excludes(const FileURL& url) const;
  /// Leaves out, sorts and cuts. `factsOf` returns the facts of a row. Counts what it leaves out.
  template <class Row>
  void apply(std::vector<Row>& rows, const std::type_identity_t<std::function<RowFacts(const Row&)>>& factsOf) {
    std::vector<std::pair<RowFacts, Row>> kept;
    for (Row& row : rows) {
      RowFacts facts = factsOf(row);
      if (accepts(facts)) {
        kept.emplace_back(std::move(facts), std::move(row));
      } else {
        leaveOut(facts);
      }
    }
    if (order_) {
      std::stable_sort(kept.begin(), kept.end(),
                       [&](const auto& left, const auto& right) { return precedes(left.first, right.first); });
    }
    rows.clear();
    for (auto& [facts, row] : kept) {
      if (limit_ && static_cast<long>(rows.size()) >= *limit_) {
        leaveOut(facts);
      } else {
        rows.push_back(std::move(row));
      }
    }
  }

  /// For a list that was filtered elsewhere.
  void leaveOut(const LeftOut& more) { leftOut_.add(more); }
  [[nodiscard]] const LeftOut& leftOut() const { return leftOut_; }

 private:
  void refuseOrder() const;
  void leaveOut(const RowFacts& row);
  [[nodiscard]] bool precedes(const RowFacts& left, const RowFacts& right) const;

  CommandContext& context_;
  std::optional<std::int64_t> minSize_;
  std::optional<Date> newestOfOld_;
  std::optional<Date> oldestOfNew_;
  std::vector<std::string> excluded_;
  std::optional<std::string> owner_;
  std::optional<StorageCategoryID> category_;
  std::optional<ListOrder> order_;
  std::optional<long> limit_;
  LeftOut leftOut_;
};

}  // namespace quarn
