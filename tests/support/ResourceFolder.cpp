#include "tests/support/ResourceFolder.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "tests/support/TemporaryFolder.h"

namespace quarn {

ResourceFolder::ResourceFolder() : path_(temporaryFolder() + "/resources-XXXXXX") {
  if (::mkdtemp(path_.data()) == nullptr) throw std::system_error(errno, std::generic_category(), path_);
}

ResourceFolder::~ResourceFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

ResourceFolder& ResourceFolder::file(std::string_view name, std::string_view bytes) {
  const std::filesystem::path path = std::filesystem::path(path_) / name;
  std::filesystem::create_directories(path.parent_path());
  std::ofstream stream(path, std::ios::binary);
  stream.exceptions(std::ios::failbit | std::ios::badbit);
  stream << bytes;
  return *this;
}

ResourceFolder& ResourceFolder::folder(std::string_view name) {
  std::filesystem::create_directories(std::filesystem::path(path_) / name);
  return *this;
}

}  // namespace quarn
