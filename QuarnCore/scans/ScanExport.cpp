#include "QuarnCore/scans/ScanExport.h"

#include <cerrno>
#include <cstdio>
#include <memory>
#include <string_view>

#include "QuarnCore/scans/ScanSchema.h"
#include "QuarnPlatform/base/FileError.h"
#include "QuarnPlatform/files/HostFile.h"
#include "QuarnPlatform/json/JSONLibrary.h"

namespace quarn {
namespace {

constexpr std::size_t kExportedRowsBetweenPolls = 1024;

std::string hexOf(std::string_view bytes) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string hex;
  for (const char character : bytes) {
    const auto byte = static_cast<unsigned char>(character);
    (hex += kDigits[byte >> 4U]) += kDigits[byte & 15U];
  }
  return hex;
}

std::string csvText(std::string_view text) {
  if (text.find_first_of(",\"\r\n") == std::string_view::npos) return std::string(text);
  std::string result = "\"";
  for (const char character : text) {
    if (character == '"') result += '"';
    result += character;
  }
  return result + '"';
}

nlohmann::ordered_json jsonOf(const ScanValue& value) {
  if (const auto* number = std::get_if<std::int64_t>(&value)) return *number;
  if (const auto* number = std::get_if<double>(&value)) return *number;
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* blob = std::get_if<ScanBlob>(&value)) return {{"hex", hexOf(blob->bytes)}};
  return nullptr;
}

std::string csvOf(const ScanValue& value) {
  if (std::holds_alternative<std::monostate>(value)) return "";
  if (const auto* text = std::get_if<std::string>(&value)) return text->empty() ? "\"\"" : csvText(*text);
  if (const auto* blob = std::get_if<ScanBlob>(&value)) return "X'" + hexOf(blob->bytes) + "'";
  return jsonOf(value).dump();
}

/// A host file that is written row by row.
class Output {
 public:
  explicit Output(const std::string& file)
      : file_(file), replaced_(file), stream_(std::fopen(replaced_.temporary().c_str(), "r+e")) {
    if (!stream_) throwFileError("write", file_);
  }
  void line(const std::string& text) {
    if (std::fwrite(text.data(), 1, text.size(), stream_.get()) < text.size()) throwFileError("write", file_);
  }
  void commit() {
    if (std::fclose(stream_.release()) != 0) throwFileError("write", file_);
    replaced_.commit();
  }

 private:
  struct Close {
    void operator()(std::FILE* stream) const { (void)std::fclose(stream); }
  };
  std::string file_;
  ReplacedHostFile replaced_;
  std::unique_ptr<std::FILE, Close> stream_;
};

std::string csvLine(const std::vector<ScanValue>& row) {
  std::string line;
  for (const ScanValue& value : row)
    line.append(line.empty() && &value == &row.front() ? "" : ",").append(csvOf(value));
  return line + "\r\n";
}

std::string jsonLine(const std::vector<std::string>& names, const std::vector<ScanValue>& row) {
  nlohmann::ordered_json object = nlohmann::ordered_json::object();
  for (std::size_t i = 0; i < row.size(); ++i) object[names[i]] = jsonOf(row[i]);
  return object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

// Returns false if cancelled.
bool exportTable(const Scan& scan, const ScanTable& table, const std::string& file, bool asCSV,
                 const Cancellation& cancellation) {
  const std::vector<std::string> names = columnNames(table);
  Output output(file);
  if (asCSV) output.line(csvLine({names.begin(), names.end()}));
  std::size_t count = 0;
  bool isWhole = true;
  scan.rows(table, [&](const std::vector<ScanValue>& row) {
    output.line(asCSV ? csvLine(row) : jsonLine(names, row));
    isWhole = ++count % kExportedRowsBetweenPolls != 0 || !cancellation.isCancelled();
    return isWhole;
  });
  if (isWhole) output.commit();
  return isWhole;
}

}  // namespace

std::int64_t exportScan(const Scan& scan, const std::string& folder, const Cancellation& cancellation) {
  std::int64_t files = 0;
  for (const ScanTable& table : scan.tables()) {
    for (const bool asCSV : {true, false}) {
      const std::string file = folder + "/" + std::string(table.name) + (asCSV ? ".csv" : ".ndjson");
      if (cancellation.isCancelled() || !exportTable(scan, table, file, asCSV, cancellation)) return files;
      ++files;
    }
  }
  return files;
}

}  // namespace quarn
