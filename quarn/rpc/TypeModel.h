#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

namespace quarn {

/// What the writers of typed clients ask of the OpenRPC document. A view: the document must outlive it.
class TypeModel {
 public:
  /// The side that makes a value. Requests may omit members; answers have all of them, null if absent.
  enum class Side : std::uint8_t { request, answer };

  explicit TypeModel(const nlohmann::ordered_json& document);

  [[nodiscard]] const nlohmann::ordered_json& document() const { return document_; }
  [[nodiscard]] const nlohmann::ordered_json& schemas() const;
  /// True for records that a request may give in another form than answers have.
  [[nodiscard]] bool hasRequestForm(const std::string& record) const { return requestForms_.contains(record); }

  /// The name in a schema's "$ref".
  static std::string referenced(const nlohmann::ordered_json& schema);
  /// A name as an identifier: "AppsService.discoverApps" becomes "AppsServiceDiscoverApps".
  static std::string identifier(std::string_view name);
  /// True if the value may be null.
  static bool isNullable(const nlohmann::ordered_json& schema);
  static bool isRequired(const nlohmann::ordered_json& record, const std::string& member);
  /// True for a record whose absent members are missing in answers.
  static bool omitsAbsent(const nlohmann::ordered_json& record);

 private:
  void visit(const nlohmann::ordered_json& schema);
  void visitRecord(const std::string& name);

  const nlohmann::ordered_json& document_;
  std::set<std::string> inRequests_;
  std::set<std::string> requestForms_;
};

/// TypeScript declarations of every method, record and notification, from the OpenRPC document.
[[nodiscard]] std::string typeScriptTypes(const nlohmann::ordered_json& document);
/// A Python module with the same types; for Python 3.11.
[[nodiscard]] std::string pythonTypes(const nlohmann::ordered_json& document);

}  // namespace quarn
