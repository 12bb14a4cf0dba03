#include "QuarnCore/vendors/VendorProfileFiles.h"

#include <string_view>
#include <utility>

#include "QuarnCore/vendors/VendorProfileIndex.h"
#include "QuarnCore/vendors/VendorProfileJSON.h"

namespace quarn {
namespace {

constexpr std::string_view kExtension = "json";
constexpr std::string_view kSubdirectory = "vendors";

std::optional<std::string> readProfileResource(const ResourceBundle& bundle, std::string_view name) {
  return bundle.readBelowOrHere(name, kExtension, kSubdirectory);
}

std::string withoutExtension(std::string file) {
  constexpr std::string_view kEnding = ".json";
  for (std::size_t found = file.find(kEnding); found != std::string::npos; found = file.find(kEnding, found)) {
    file.erase(found, kEnding.size());
  }
  return file;
}

}  // namespace

VendorProfileFiles::VendorProfileFiles(const std::vector<ResourceBundle>& bundles) : bundles_(bundles) {
  for (std::size_t bundle = 0; bundle < bundles_.size(); ++bundle) {
    const std::optional<std::string> text = readProfileResource(bundles_[bundle], "index");
    std::optional<VendorProfileIndex> index = text ? decodeVendorIndex(*text) : std::nullopt;
    if (!index) continue;
    for (VendorProfileIndex::Entry& entry : index->vendors) {
      files_.push_back({.bundle = bundle, .name = withoutExtension(std::move(entry.file))});
    }
  }
}

std::optional<std::string> VendorProfileFiles::text(std::size_t position) const {
  const File& file = files_[position];
  return readProfileResource(bundles_[file.bundle], file.name);
}

std::optional<VendorProfile> VendorProfileFiles::read(std::size_t position) const {
  const std::optional<std::string> found = text(position);
  return found ? decodeVendorProfile(*found) : std::nullopt;
}

}  // namespace quarn
