#include <gtest/gtest.h>

#include "QuarnModels/Date.h"

namespace quarn::date_tests {
namespace {

TEST(Date, IsWrittenAndReadInOneForm) {
  const std::vector<std::pair<std::int64_t, std::string>> rows{{0, "1970-01-01T00:00:00Z"},
                                                               {-1, "1969-12-31T23:59:59Z"},
                                                               {951'782'400, "2000-02-29T00:00:00Z"},
                                                               {1'795'209'785, "2026-11-20T21:23:05Z"},
                                                               {253'402'300'799, "9999-12-31T23:59:59Z"},
                                                               {-62'167'219'200, "0000-01-01T00:00:00Z"}};
  for (const auto& [seconds, text] : rows) {
    const Date date{std::chrono::seconds(seconds)};
    EXPECT_EQ(toISO8601(date), text);
    EXPECT_EQ(dateFromISO8601(text), date) << text;
  }
}

TEST(Date, AnyOtherFormIsRefused) {
  for (const char* text :
       {"", "2026-11-20", "2026-11-20T21:23:05", "2026-11-20T21:23:05z", "2026-11-20 21:23:05Z",
        "2026-11-20T21:23:05ZZ", " 2026-11-20T21:23:05Z", "2026-11-20T21:23:05.0Z", "2026-11-20T21:23:05+00:00",
        "2026-1-20T21:23:05Z", "+026-11-20T21:23:05Z", "2026-11-20T21:23:-5Z", "2026-11-20T21:23: 5Z"}) {
    EXPECT_EQ(dateFromISO8601(text), std::nullopt) << text;
  }
}

TEST(Date, ADayOrTimeThatDoesNotExistIsRefused) {
  for (const char* text :
       {"2026-00-01T00:00:00Z", "2026-13-01T00:00:00Z", "2026-01-00T00:00:00Z", "2026-01-32T00:00:00Z",
        "2026-02-29T00:00:00Z", "1900-02-29T00:00:00Z", "2026-04-31T00:00:00Z", "2026-01-01T24:00:00Z",
        "2026-01-01T00:60:00Z", "2026-01-01T00:00:60Z"}) {
    EXPECT_EQ(dateFromISO8601(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace quarn::date_tests
