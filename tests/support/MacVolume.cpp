#include "tests/support/MacVolume.h"

#include <array>
#include <cstdlib>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

#include "QuarnPlatform/paths/Path.h"
#include "tests/support/TemporaryFolder.h"

namespace quarn {
namespace {

std::string newFolder() {
  std::string pattern = temporaryFolder() + "/mac-volume-XXXXXX";
  if (::mkdtemp(pattern.data()) == nullptr || ::chmod(pattern.c_str(), 0755) != 0) {
    throwFileError("make a temporary folder", pattern);
  }
  return pattern;
}

PlistDictionary infoOf(const AppBundle& bundle) {
  PlistDictionary info;
  const std::array<std::pair<const char*, const std::string*>, 5> texts{{
      {"CFBundleIdentifier", &bundle.bundleIdentifier},
      {"CFBundleName", &bundle.name},
      {"CFBundleDisplayName", &bundle.displayName},
      {"CFBundleShortVersionString", &bundle.version},
      {"CFBundleExecutable", &bundle.executable},
  }};
  for (const auto& [key, text] : texts) {
    if (!text->empty()) info.emplace_back(key, *text);
  }
  info.insert(info.end(), bundle.more.begin(), bundle.more.end());
  return info;
}

}  // namespace

MacVolume::MacVolume(std::string_view home) : home_(home), writer_(newFolder()) { folder(home_); }

MacVolume::~MacVolume() {
  ::chmod(root().c_str(), 0700);
  writer_.clear();
  ::rmdir(root().c_str());
}

MacVolume& MacVolume::app(std::string_view path, const AppBundle& bundle) {
  const std::string contents = this->path(path) + "/Contents/";
  const std::string binary = bundle.executable.empty() ? std::string(path::stem(path)) : bundle.executable;
  return text(contents + "Info.plist", sample::plistBytes(infoOf(bundle), bundle.format))
      .text(contents + "PkgInfo", "APPL????")
      .executable(contents + "MacOS/" + binary, bundle.executableBytes);
}

MacVolume& MacVolume::appWithoutInfo(std::string_view path) {
  return executable(std::string(path) + "/Contents/MacOS/" + std::string(path::stem(path)));
}

MacVolume& MacVolume::folder(std::string_view path) { return writer_.folder(this->path(path)), *this; }

MacVolume& MacVolume::file(std::string_view path, std::int64_t bytes) {
  return text(path, std::string(static_cast<std::size_t>(bytes), 'q'));
}

MacVolume& MacVolume::text(std::string_view path, std::string_view content) {
  return writer_.file(this->path(path), content), *this;
}

MacVolume& MacVolume::executable(std::string_view path, std::string_view content) {
  return writer_.file(this->path(path), content, 0755), *this;
}

MacVolume& MacVolume::plist(std::string_view path, const PlistDictionary& root) {
  return text(path, sample::xmlPlist(root));
}

MacVolume& MacVolume::binaryPlist(std::string_view path, const PlistDictionary& root) {
  return text(path, sample::binaryPlist(root));
}

MacVolume& MacVolume::sparse(std::string_view path, std::int64_t logicalBytes) {
  return writer_.sparse(this->path(path), logicalBytes), *this;
}

MacVolume& MacVolume::link(std::string_view path, std::string_view target) {
  return writer_.link(this->path(path), std::string(target)), *this;
}

MacVolume& MacVolume::hardLink(std::string_view path, std::string_view existing) {
  return writer_.hardLink(this->path(path), this->path(existing)), *this;
}

MacVolume& MacVolume::fifo(std::string_view path) { return writer_.fifo(this->path(path)), *this; }

MacVolume& MacVolume::socket(std::string_view path) { return writer_.socket(this->path(path)), *this; }

MacVolume& MacVolume::chain(std::string_view path, int depth, std::string_view name) {
  std::string full = this->path(path);
  for (int level = 0; level < depth; ++level) (full += '/') += name;
  return folder(full);
}

MacVolume& MacVolume::mode(std::string_view path, mode_t bits) { return writer_.mode(this->path(path), bits), *this; }

MacVolume& MacVolume::modified(std::string_view path, std::int64_t seconds) {
  return writer_.modified(this->path(path), seconds), *this;
}

MacVolume& MacVolume::xattr(std::string_view path, const std::string& name, std::string_view bytes) {
  return writer_.attribute(this->path(path), name, bytes), *this;
}

MacVolume& MacVolume::bundleBit(std::string_view path) {
  std::string finderInfo(32, '\0');
  finderInfo[8] = '\x20';
  return xattr(path, "user.com.apple.FinderInfo", finderInfo);
}

MacVolume& MacVolume::remove(std::string_view path) { return writer_.remove(this->path(path)), *this; }

FileManager MacVolume::files() const { return FileManager::mounted(root(), FileURL(home_, URLKind::directory)); }

std::string MacVolume::path(std::string_view macPath) const {
  if (macPath != "~" && !macPath.starts_with("~/")) return std::string(macPath);
  return home_ + std::string(macPath.substr(1));
}

std::string MacVolume::host(std::string_view macPath) const { return root() + path(macPath); }

FileURL MacVolume::url(std::string_view macPath) const { return FileURL(path(macPath)); }

}  // namespace quarn
