#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace quarn {

/// Reads the members of one JSON object into a record's fields, strictly: a required member that is missing, null or of
/// another type spoils the whole file; an optional one may be missing or null, but not of another type. Unknown members
/// are passed over.
///
/// The first thing wrong is written to `problem` ("artifacts[2].confidence: not a number"); reading goes on with empty
/// values, so that a record is decoded in one expression and judged once at its end: the file is good while `problem`
/// is empty. A record refers to the value and to `problem`, which must outlive it; records of one file share both. Not
/// thread-safe.
class JSONRecord {
 public:
  /// `path` names the value in problems; "" for a whole file.
  JSONRecord(const nlohmann::json& value, std::string& problem, std::string path = "");

  [[nodiscard]] std::string string(std::string_view key) const;
  [[nodiscard]] std::int64_t integer(std::string_view key) const;
  [[nodiscard]] double number(std::string_view key) const;
  [[nodiscard]] bool boolean(std::string_view key) const;
  [[nodiscard]] std::vector<std::string> stringArray(std::string_view key) const;
  [[nodiscard]] JSONRecord record(std::string_view key) const;
  /// One record for each element of the array.
  [[nodiscard]] std::vector<JSONRecord> records(std::string_view key) const;

  [[nodiscard]] std::optional<std::string> optionalString(std::string_view key) const;
  [[nodiscard]] std::optional<std::int64_t> optionalInteger(std::string_view key) const;
  [[nodiscard]] std::optional<double> optionalNumber(std::string_view key) const;
  [[nodiscard]] std::optional<bool> optionalBoolean(std::string_view key) const;
  [[nodiscard]] std::optional<std::vector<std::string>> optionalStringArray(std::string_view key) const;
  [[nodiscard]] std::optional<JSONRecord> optionalRecord(std::string_view key) const;
  /// None when the array is missing or null.
  [[nodiscard]] std::vector<JSONRecord> optionalRecords(std::string_view key) const;

  /// The member as it stands, null pointer when it is missing or null: for shapes that the operations above do not
  /// know.
  [[nodiscard]] const nlohmann::json* member(std::string_view key) const;

  /// Says what is wrong with a member whose type is right, such as an unknown enumeration string. Only the first
  /// problem of the file is kept.
  void fail(std::string_view key, std::string_view what) const;

  /// Whether nothing was wrong in this file so far.
  [[nodiscard]] bool valid() const { return problem_->empty(); }
  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  [[nodiscard]] std::string pathOf(std::string_view key) const;
  [[nodiscard]] const nlohmann::json* required(std::string_view key) const;
  [[nodiscard]] std::vector<JSONRecord> elements(const nlohmann::json* array, std::string_view key) const;

  const nlohmann::json* value_;
  std::string* problem_;
  std::string path_;
};

}  // namespace quarn
