#include "quarn/terminal/SizeText.h"

#include <array>
#include <cmath>
#include <string_view>

#include <fmt/format.h>

namespace quarn {
namespace {

struct Unit {
  std::string_view name;
  int decimals;
};
constexpr std::array<Unit, 5> kDecimal{{{"KB", 0}, {"MB", 1}, {"GB", 2}, {"TB", 2}, {"PB", 2}}};
constexpr std::array<Unit, 5> kIEC{{{"KiB", 1}, {"MiB", 1}, {"GiB", 2}, {"TiB", 2}, {"PiB", 2}}};

std::string scaled(std::int64_t bytes, double base, const std::array<Unit, 5>& units) {
  double value = static_cast<double>(bytes) / base;
  std::size_t unit = 0;
  // Use the next unit if rounding would reach it: 999.96 MB is 1.00 GB.
  const auto rounded = [&] {
    const double places = std::pow(10, units[unit].decimals);
    return std::round(value * places) / places;
  };
  while (unit + 1 < units.size() && rounded() >= base) {
    value /= base;
    ++unit;
  }
  return fmt::format("{:.{}f} {}", value, units[unit].decimals, units[unit].name);
}

}  // namespace

std::string sizeText(std::int64_t bytes, SizeUnits units) {
  if (units == SizeUnits::bytes) return std::to_string(bytes);
  const double base = units == SizeUnits::iec ? 1024 : 1000;
  if (bytes < static_cast<std::int64_t>(base)) return bytes == 1 ? "1 byte" : fmt::format("{} bytes", bytes);
  return scaled(bytes, base, units == SizeUnits::iec ? kIEC : kDecimal);
}

}  // namespace quarn
