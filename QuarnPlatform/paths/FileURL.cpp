#include "QuarnPlatform/paths/FileURL.h"

#include "QuarnPlatform/paths/Path.h"

namespace quarn {
namespace {

constexpr std::string_view kScheme = "file://";

bool isUnreserved(unsigned char byte) {
  return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9') || byte == '-' ||
         byte == '.' || byte == '_' || byte == '~';
}

int hexValue(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  return -1;
}

std::optional<std::string> percentDecoded(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      result += text[i];
      continue;
    }
    if (i + 2 >= text.size()) return std::nullopt;
    const int high = hexValue(text[i + 1]);
    const int low = hexValue(text[i + 2]);
    if (high < 0 || low < 0) return std::nullopt;
    result += static_cast<char>(high * 16 + low);
    i += 2;
  }
  return result;
}

}  // namespace

FileURL::FileURL(std::string_view path, URLKind kind) : path_(path), kind_(kind) {
  while (path_.size() > 1 && path_.back() == '/') {
    path_.pop_back();
    kind_ = URLKind::directory;
  }
  if (path_ == "/" || path_.empty()) *this = FileURL();
}

std::optional<FileURL> FileURL::parse(std::string_view text) {
  std::string path(text);
  if (text.starts_with(kScheme)) {
    text.remove_prefix(kScheme.size());
    if (text.starts_with("localhost/")) text.remove_prefix(std::string_view("localhost").size());
    if (!text.starts_with('/')) return std::nullopt;
    std::optional<std::string> decoded = percentDecoded(text);
    if (!decoded) return std::nullopt;
    path = std::move(*decoded);
  }
  if (!path.starts_with('/') || path.find('\0') != std::string::npos) return std::nullopt;
  return FileURL(path);
}

std::string FileURL::string() const {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string result(kScheme);
  for (const char character : path_) {
    const auto byte = static_cast<unsigned char>(character);
    if (isUnreserved(byte) || byte == '/') {
      result += character;
    } else {
      result += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
    }
  }
  if (hasDirectoryPath() && path_ != "/") result += '/';
  return result;
}

std::string_view FileURL::lastPathComponent() const { return path::lastComponent(path_); }
std::vector<std::string_view> FileURL::pathComponents() const { return path::components(path_); }
std::string_view FileURL::pathExtension() const { return path::extension(path_); }

FileURL FileURL::appending(std::string_view component, URLKind kind) const {
  return FileURL(path::join(path_, component), kind);
}

FileURL FileURL::deletingLastPathComponent() const { return FileURL(path::parent(path_), URLKind::directory); }

}  // namespace quarn
