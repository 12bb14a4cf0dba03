#include "QuarnPlatform/paths/Path.h"

#include <algorithm>

namespace quarn::path {
namespace {

// A file name extension must not contain a space or a direction mark, which could reverse the displayed text.
bool holdsInvalidExtensionCharacter(std::string_view text) {
  if (text.find(' ') != std::string_view::npos) return true;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::string_view rest = text.substr(i);
    if (rest.starts_with("\xD8\x9C")) return true;  // U+061C
    if (rest.size() < 3 || rest[0] != '\xE2') continue;
    const auto second = static_cast<unsigned char>(rest[1]);
    const auto third = static_cast<unsigned char>(rest[2]);
    if (second == 0x80 && (third == 0x8E || third == 0x8F || (third >= 0xAA && third <= 0xAE))) return true;
    if (second == 0x81 && third >= 0xA6 && third <= 0xA9) return true;
  }
  return false;
}

std::string_view withoutTrailingSlashes(std::string_view path) {
  while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
  return path;
}

// The position of the dot before the extension in a file name; npos if there is no extension.
std::size_t extensionDot(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  if (dot == std::string_view::npos || dot == 0 || dot + 1 == name.size()) return std::string_view::npos;
  const std::string_view before = name.substr(0, dot);
  if (before == "." || before == "..") return std::string_view::npos;
  return holdsInvalidExtensionCharacter(name.substr(dot + 1)) ? std::string_view::npos : dot;
}

}  // namespace

std::vector<std::string_view> names(std::string_view path) {
  std::vector<std::string_view> result;
  std::size_t start = 0;
  while (start < path.size()) {
    const std::size_t end = std::min(path.find('/', start), path.size());
    if (end > start) result.push_back(path.substr(start, end - start));
    start = end + 1;
  }
  return result;
}

std::vector<std::string_view> components(std::string_view path) {
  std::vector<std::string_view> result = names(path);
  if (path.starts_with('/')) result.insert(result.begin(), path.substr(0, 1));
  return result;
}

std::string_view lastComponent(std::string_view path) {
  if (path.find('/') == std::string_view::npos) return path;
  path = withoutTrailingSlashes(path);
  if (path == "/") return path;
  return path.substr(path.rfind('/') + 1);  // npos + 1 is 0
}

std::string_view extension(std::string_view path) {
  if (path.find('.') == std::string_view::npos) return {};  // as in most names of folders
  const std::string_view name = lastComponent(path);
  const std::size_t dot = extensionDot(name);
  return dot == std::string_view::npos ? std::string_view() : name.substr(dot + 1);
}

std::string_view stem(std::string_view path) {
  const std::string_view name = lastComponent(path);
  return name.substr(0, extensionDot(name));
}

std::string_view parent(std::string_view path) {
  path = withoutTrailingSlashes(path);
  const std::size_t slash = path.rfind('/');
  if (slash == std::string_view::npos || slash == 0) return "/";
  return withoutTrailingSlashes(path.substr(0, slash));
}

std::string join(std::string_view base, std::string_view component) {
  if (component.starts_with('/')) component.remove_prefix(1);
  std::string result(base);
  if (!result.ends_with('/')) result += '/';
  result += component;
  return result;
}

std::string withoutDots(std::string_view path) {
  std::vector<std::string_view> kept;
  for (const std::string_view name : names(path)) {
    if (name == ".") continue;
    if (name != "..") {
      kept.push_back(name);
    } else if (!kept.empty()) {
      kept.pop_back();
    }
  }
  std::string result;
  for (const std::string_view name : kept) (result += '/') += name;
  return result.empty() ? "/" : result;
}

bool isPlain(std::string_view path) {
  if (path == "/") return true;
  for (std::size_t slash = path.find('/'); slash != std::string_view::npos; slash = path.find('/', slash + 1)) {
    const std::string_view rest = path.substr(slash + 1);
    if (rest.empty() || rest.front() == '/') return false;
    if (rest.front() != '.') continue;
    const std::string_view name = rest.substr(0, rest.find('/'));
    if (name == "." || name == "..") return false;
  }
  return true;
}

bool isInside(std::string_view path, std::string_view folder) {
  if (!path.starts_with(folder)) return false;
  return path.size() == folder.size() || folder == "/" || path[folder.size()] == '/';
}

}  // namespace quarn::path
