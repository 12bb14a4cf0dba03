#include "QuarnSystem/EntitlementsReader.h"

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <utility>

#include "QuarnPlatform/paths/Path.h"
#include "QuarnSystem/BundleInfo.h"
#include "QuarnSystem/formats/Entitlements.h"

namespace quarn {
namespace {

// Where a bundle keeps its main executable, in the order in which the platform looks; flat bundles in themselves.
constexpr std::array<std::string_view, 3> kExecutableFolders{"Contents/MacOS", "Contents", ""};

// A path in place of a name would lend the app the entitlements of another one's program.
bool isPath(std::string_view text) { return text.find('/') != std::string_view::npos; }

struct Program {
  FileURL url;
  OpenFile file;
};

std::optional<Program> openedIfPossible(const FileManager& files, FileURL url) {
  try {
    OpenFile file = files.openFile(url);
    return Program{std::move(url), std::move(file)};
  } catch (const FileError&) {
    return std::nullopt;
  }
}

std::optional<Program> mainExecutable(const FileManager& files, const FileURL& app) {
  const BundleInfo info = readBundleInfo(files, app);
  const std::string name = info.executable.value_or(std::string(path::stem(info.bundle.path())));
  if (isPath(name)) return std::nullopt;
  for (const std::string_view folder : kExecutableFolders) {
    const FileURL place = folder.empty() ? info.bundle : info.bundle.appending(folder);
    if (std::optional<Program> program = openedIfPossible(files, place.appending(name))) return program;
  }
  return std::nullopt;
}

ByteSource sourceOf(const OpenFile& file) {
  return {.size = file.size(), .read = [&file](std::uint64_t offset, std::size_t count) -> std::string {
            try {
              return file.read(offset, count);
            } catch (const FileError&) {
              return {};
            }
          }};
}

EntitlementsInfo entitlementsOfApp(const FileManager& files, const FileURL& app) {
  const std::optional<Program> program = mainExecutable(files, app);
  if (!program) return {};
  return {.applicationGroups = readApplicationGroups(sourceOf(program->file))};
}

/// What programs hold, by device and inode.
class KnownPrograms {
 public:
  EntitlementsInfo of(const FileManager& files, const FileURL& app) {
    const std::optional<Program> program = mainExecutable(files, app);
    const std::optional<ItemFacts> facts = program ? files.facts(program->url, Links::follow) : std::nullopt;
    if (!facts) return {};
    const std::pair identity(facts->device, facts->inode);
    if (const std::optional<EntitlementsInfo> known = find(identity)) return *known;
    EntitlementsInfo info{.applicationGroups = readApplicationGroups(sourceOf(program->file))};
    const std::lock_guard lock(mutex_);
    known_.emplace(identity, info);
    return info;
  }

 private:
  using Identity = std::pair<std::uint64_t, std::uint64_t>;

  std::optional<EntitlementsInfo> find(const Identity& identity) {
    const std::lock_guard lock(mutex_);
    const auto known = known_.find(identity);
    return known != known_.end() ? std::optional(known->second) : std::nullopt;
  }

  std::mutex mutex_;
  std::map<Identity, EntitlementsInfo> known_;
};

}  // namespace

EntitlementsReader EntitlementsReader::live(FileManager files) {
  return {.readEntitlements = [files = std::move(files)](const FileURL& app) { return entitlementsOfApp(files, app); }};
}

EntitlementsReader EntitlementsReader::snapshot(FileManager files) {
  return {.readEntitlements = [files = std::move(files), programs = std::make_shared<KnownPrograms>()](
                                  const FileURL& app) { return programs->of(files, app); }};
}

}  // namespace quarn
