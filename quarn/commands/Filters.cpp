#include "quarn/commands/Filters.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "QuarnCore/vendors/VendorPathResolver.h"
#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/text/Text.h"

namespace quarn {
namespace {

/// "90d": a count and a unit.
struct AgeUnit {
  char letter;
  int days;
};
constexpr std::array kAgeUnits{AgeUnit{.letter = 'd', .days = 1}, AgeUnit{.letter = 'w', .days = 7},
                               AgeUnit{.letter = 'm', .days = 30}, AgeUnit{.letter = 'y', .days = 365}};

/// "10MB": a count and a unit.
struct ByteUnit {
  std::string_view name;
  double bytes;
};
// clang-format off
constexpr std::array kByteUnits{
    ByteUnit{.name = "", .bytes = 1},      ByteUnit{.name = "B", .bytes = 1},
    ByteUnit{.name = "K", .bytes = 1e3},   ByteUnit{.name = "KB", .bytes = 1e3},  ByteUnit{.name = "KIB",
             .bytes = 0x1p10},
    ByteUnit{.name = "M", .bytes = 1e6},   ByteUnit{.name = "MB", .bytes = 1e6},  ByteUnit{.name = "MIB",
             .bytes = 0x1p20},
    ByteUnit{.name = "G", .bytes = 1e9},   ByteUnit{.name = "GB", .bytes = 1e9},  ByteUnit{.name = "GIB",
             .bytes = 0x1p30},
    ByteUnit{.name = "T", .bytes = 1e12},  ByteUnit{.name = "TB", .bytes = 1e12}, ByteUnit{.name = "TIB",
             .bytes = 0x1p40},
};
// clang-format on

std::string upperCased(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(),
                 [](char letter) { return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 32) : letter; });
  return result;
}

const OptionRow& rowOf(Filter filter) { return kFilterOptions[static_cast<std::size_t>(filter)]; }

Date dateBefore(std::chrono::days age) {
  return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now()) - age;
}

bool matchesNames(const std::vector<std::string_view>& pattern, const std::vector<std::string_view>& names,
                  std::size_t from) {
  if (pattern.size() > names.size() - from) return false;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    if (!VendorPathResolver::matches(pattern[i], names[from + i])) return false;
  }
  return true;
}

bool belongsTo(const std::vector<std::string>& owners, const std::string& wanted) {
  const std::string key = Text::normalizedKey(wanted);
  return std::any_of(owners.begin(), owners.end(), [&](const std::string& owner) {
    return Text::lowercased(owner) == Text::lowercased(wanted) ||
           (!key.empty() && Text::contains(Text::normalizedKey(owner), key));
  });
}

std::optional<Date> limitDate(Filter filter, const Arguments& arguments) {
  const std::string_view name = rowOf(filter).name;
  const std::optional<std::string> text = arguments.text(name);
  return text ? std::optional(dateBefore(ageOption(name, *text))) : std::nullopt;
}

// Takes "1.5" from the beginning of a text; absent without a digit. The C++ library of macOS's compiler cannot read
// fractions.
std::optional<double> takeNumeral(std::string_view& text) {
  const std::size_t length = std::min(text.find_first_not_of("0123456789."), text.size());
  const std::string_view numeral = text.substr(0, length);
  const std::size_t point = std::min(numeral.find('.'), length);
  if (numeral.find_first_of("0123456789") == numeral.npos || numeral.find('.', point + 1) != numeral.npos)
    return std::nullopt;
  double value = 0;
  double scale = 1;
  for (std::size_t i = 0; i < length; ++i) {
    if (i == point) continue;
    value = value * 10 + (numeral[i] - '0');
    if (i > point) scale *= 10;
  }
  text.remove_prefix(length);
  return value / scale;
}

}  // namespace

std::int64_t bytesOption(std::string_view option, const std::string& text) {
  std::string_view rest = text;
  const std::optional<double> count = takeNumeral(rest);
  const std::string unit = upperCased(rest);
  const auto row =
      std::find_if(kByteUnits.begin(), kByteUnits.end(), [&](const ByteUnit& any) { return any.name == unit; });
  const double bytes = row == kByteUnits.end() || !count ? -1 : std::ceil(*count * row->bytes);
  constexpr double kMost = 9e18;
  if (bytes >= 0 && bytes <= kMost) return static_cast<std::int64_t>(bytes);
  throw UsageError(std::string(option) + ": expected a size, as in 10MB or 1.5GiB; got \"" + text + "\"");
}

std::chrono::days ageOption(std::string_view option, const std::string& text) {
  const std::string digits = text.substr(0, text.empty() ? 0 : text.size() - 1);
  const bool isNumber = !digits.empty() && digits.size() <= 5 &&
                        std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; });
  for (const AgeUnit& unit : kAgeUnits) {
    if (isNumber && text.back() == unit.letter) return std::chrono::days(std::stoi(digits) * unit.days);
  }
  throw UsageError(std::string(option) + ": expected a number and d, w, m or y, as in 90d; got \"" + text + "\"");
}

bool isExcludedBy(std::string_view pattern, const FileURL& url, const FileURL& home) {
  const bool isInHome = pattern == "~" || pattern.starts_with("~/");
  const std::string absolute = isInHome ? home.path() + std::string(pattern.substr(1)) : std::string(pattern);
  const std::vector<std::string_view> parts = path::names(absolute);
  const std::vector<std::string_view> names = path::names(url.path());
  if (parts.empty()) return false;
  if (absolute.starts_with('/')) return matchesNames(parts, names, 0);
  for (std::size_t from = 0; from < names.size(); ++from) {
    if (matchesNames(parts, names, from)) return true;
  }
  return false;
}

ListFilters::ListFilters(CommandContext& context, std::optional<long> usualLimit)
    : context_(context),
      newestOfOld_(limitDate(Filter::olderThan, context.arguments())),
      oldestOfNew_(limitDate(Filter::newerThan, context.arguments())),
      limit_(usualLimit) {
  const Arguments& arguments = context.arguments();
  const auto textOf = [&](Filter filter) { return arguments.text(rowOf(filter).name); };
  if (const auto text = textOf(Filter::minSize)) minSize_ = bytesOption(rowOf(Filter::minSize).name, *text);
  excluded_ = arguments.texts(rowOf(Filter::exclude).name);
  owner_ = textOf(Filter::owner);
  if (const auto text = textOf(Filter::category)) category_ = fromRawValue<StorageCategoryID>(*text);
  if (const auto text = textOf(Filter::sort)) order_ = fromRawValue<ListOrder>(*text);
  refuseOrder();
  if (has(Filter::limit)) limit_ = arguments.number(rowOf(Filter::limit).name, 0);
}

// A list that takes no filter by size or age does not know them.
void ListFilters::refuseOrder() const {
  if (!order_ || *order_ == ListOrder::name) return;
  const Filter needed = *order_ == ListOrder::size ? Filter::minSize : Filter::olderThan;
  const CommandRow& command = *context_.arguments().command;
  const bool isKnown = std::any_of(command.options.begin(), command.options.end(),
                                   [&](const OptionRow& option) { return option.name == rowOf(needed).name; });
  if (isKnown) return;
  throw UsageError("--sort: the list of " + std::string(command.name) + " has no " + std::string(rawValue(*order_)));
}

bool ListFilters::has(Filter filter) const { return context_.arguments().has(rowOf(filter).name); }

bool ListFilters::asksForAge() const { return newestOfOld_ || oldestOfNew_ || order_ == ListOrder::age; }

bool ListFilters::chooses() const { return minSize_ || newestOfOld_ || oldestOfNew_ || !excluded_.empty() || owner_; }

std::optional<Date> ListFilters::modifiedAt(const FileURL& url) const {
  if (!asksForAge() || context_.scan() != nullptr) return std::nullopt;
  const std::optional<ItemFacts> facts = context_.services().files.facts(url, Links::doNotFollow);
  return facts ? std::optional(Date(std::chrono::seconds(facts->modifiedSeconds))) : std::nullopt;
}

bool ListFilters::accepts(const RowFacts& row) const {
  if (minSize_ && row.bytes.value_or(-1) < *minSize_) return false;
  if (newestOfOld_ && (!row.modified || *row.modified > *newestOfOld_)) return false;
  if (oldestOfNew_ && (!row.modified || *row.modified < *oldestOfNew_)) return false;
  if (category_ && row.category != category_) return false;
  if (owner_ && !belongsTo(row.owners, *owner_)) return false;
  return std::none_of(row.urls.begin(), row.urls.end(), [&](const FileURL& url) { return excludes(url); });
}

bool ListFilters::excludes(const FileURL& url) const {
  if (excluded_.empty()) return false;
  const FileURL home = context_.home();
  return std::any_of(excluded_.begin(), excluded_.end(),
                     [&](const std::string& pattern) { return isExcludedBy(pattern, url, home); });
}

bool ListFilters::precedes(const RowFacts& left, const RowFacts& right) const {
  constexpr Date kLast = Date::max();
  switch (order_.value_or(ListOrder::size)) {
    case ListOrder::size: return left.bytes.value_or(-1) > right.bytes.value_or(-1);
    case ListOrder::name: return Text::localizedCaseInsensitiveCompare(left.name, right.name) < 0;
    case ListOrder::age: return left.modified.value_or(kLast) < right.modified.value_or(kLast);
  }
  return false;
}

void ListFilters::leaveOut(const RowFacts& row) { leaveOut(LeftOut{.rows = 1, .bytes = row.bytes}); }

void LeftOut::add(const LeftOut& more) {
  isExact = isExact && more.isExact;
  if (more.rows == 0) return;
  if (rows == 0) {
    bytes = more.bytes;
  } else if (more.bytes) {
    bytes = checkedAdd(bytes.value_or(0), *more.bytes);
  }
  rows = checkedAdd(rows, more.rows);
}

}  // namespace quarn
