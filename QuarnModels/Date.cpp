#include "QuarnModels/Date.h"

#include <array>
#include <charconv>
#include <cstdio>

namespace quarn {
namespace {

constexpr std::string_view kPattern = "dddd-dd-ddTdd:dd:ddZ";

bool fitsPattern(std::string_view text) {
  if (text.size() != kPattern.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isDigit = text[i] >= '0' && text[i] <= '9';
    if (kPattern[i] == 'd' ? !isDigit : text[i] != kPattern[i]) return false;
  }
  return true;
}

int number(std::string_view digits) {
  int value = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), value);
  return value;
}

}  // namespace

std::string toISO8601(Date date) {
  const auto day = std::chrono::floor<std::chrono::days>(date);
  const std::chrono::year_month_day calendar(day);
  const std::chrono::hh_mm_ss time(date - day);
  std::array<char, 64> text{};
  const int length = std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ",
                                   static_cast<int>(calendar.year()), static_cast<unsigned>(calendar.month()),
                                   static_cast<unsigned>(calendar.day()), static_cast<int>(time.hours().count()),
                                   static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()));
  return {text.data(), static_cast<std::size_t>(length)};
}

std::optional<Date> dateFromISO8601(std::string_view text) {
  if (!fitsPattern(text)) return std::nullopt;
  const std::chrono::year_month_day calendar{std::chrono::year(number(text.substr(0, 4))),
                                             std::chrono::month(static_cast<unsigned>(number(text.substr(5, 2)))),
                                             std::chrono::day(static_cast<unsigned>(number(text.substr(8, 2))))};
  const int hours = number(text.substr(11, 2));
  const int minutes = number(text.substr(14, 2));
  const int seconds = number(text.substr(17, 2));
  if (!calendar.ok() || hours > 23 || minutes > 59 || seconds > 59) return std::nullopt;
  return std::chrono::sys_days(calendar) + std::chrono::hours(hours) + std::chrono::minutes(minutes) +
         std::chrono::seconds(seconds);
}

}  // namespace quarn
