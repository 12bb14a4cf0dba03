#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

namespace quarn {

namespace hashing {

constexpr std::size_t mixed(std::size_t seed, std::size_t hash) {
  constexpr std::size_t kGoldenRatio = 0x9E3779B97F4A7C15;
  return seed ^ (hash + kGoldenRatio + (seed << 6) + (seed >> 2));
}

template <class Value>
std::size_t of(const Value& value) {
  return std::hash<Value>()(value);
}

template <class Value>
std::size_t of(const std::optional<Value>& value) {
  return value ? mixed(1, of(*value)) : 0;
}

template <class Value>
std::size_t of(const std::vector<Value>& values) {
  std::size_t hash = values.size();
  for (const Value& value : values) hash = mixed(hash, of(value));
  return hash;
}

}  // namespace hashing

/// Combines the hashes of all fields of a record, in order. Specialisations of std::hash pass the fields of a
/// structured binding, so that adding a field to the record fails to compile until the hash includes it.
template <class... Fields>
std::size_t hashOfFields(const Fields&... fields) {
  std::size_t hash = sizeof...(Fields);
  ((hash = hashing::mixed(hash, hashing::of(fields))), ...);
  return hash;
}

}  // namespace quarn
