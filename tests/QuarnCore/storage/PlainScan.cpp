#include "tests/QuarnCore/storage/PlainScan.h"

#include <filesystem>

#include <sys/stat.h>

#include "QuarnPlatform/files/Packages.h"
#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/text/Text.h"

namespace quarn::plain_scan {
namespace {

using Category = StorageCategoryID;

struct Root {
  Category category;
  bool isFast;
  std::string path;  // resolved, standardised
  std::string real;  // as it lies on the disk
  bool isLinked;
  bool isCounted;
};

bool lies(const std::string& path, const std::string& in) {
  return path == in || in == "/" || path.starts_with(in + "/");
}

class PlainScan {
 public:
  explicit PlainScan(const DashboardVolume& volume)
      : volume_(volume), files_(volume.files()), dashboard_(volume.dashboard()) {
    const Category enumerated[] = {Category::photos,    Category::communication, Category::development, Category::games,
                                   Category::documents, Category::apps,          Category::other};
    for (const Category category : enumerated) list(category, false);
    list(Category::systemData, true);
    add(QuarantineManager::live(files_).baseURL(), Category::systemData, true);
    std::stable_sort(roots_.begin(), roots_.end(),
                     [](const Root& a, const Root& b) { return a.isLinked < b.isLinked; });
    dropRoots();
    for (const FileURL& url : dashboard_.categoryExclusions(Category::systemData)) {
      exclusions_.push_back(files_.standardizedPath(url));
    }
  }

  std::vector<PlainlyScanned> run() {
    std::vector<PlainlyScanned> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(volume_.root())) {
      struct stat status {};
      if (::lstat(entry.path().c_str(), &status) != 0 || !S_ISREG(status.st_mode)) continue;
      const std::string path = entry.path().string().substr(volume_.root().size());
      files.push_back({path, {status.st_blocks * 512, status.st_size}, categoryOf(path)});
    }
    return files;
  }

 private:
  void list(Category category, bool isFast) {
    for (const FileURL& url : dashboard_.categoryRoots(category, true)) add(url, category, isFast);
  }

  void add(const FileURL& url, Category category, bool isFast) {
    const std::string path = files_.resolvedPath(url);
    const bool isCounted = files_.itemExists(url) && !VolumeLocationChecker::live(files_).isExternal(url);
    roots_.push_back(
        {category, isFast, path, files_.realPath(url).value_or(path), path != files_.standardizedPath(url), isCounted});
  }

  void dropRoots() {
    for (std::size_t i = 0; i < roots_.size(); ++i) {
      for (std::size_t earlier = 0; earlier < i; ++earlier) {
        if (roots_[earlier].isCounted && roots_[earlier].path == roots_[i].path) roots_[i].isCounted = false;
      }
    }
    std::vector<bool> isDropped;
    for (const Root& root : roots_) {
      const Root* around = innermostAround(root.real, &root);
      isDropped.push_back(!root.isFast && around != nullptr && !around->isFast);
    }
    for (std::size_t i = 0; i < roots_.size(); ++i) {
      if (isDropped[i]) roots_[i].isCounted = false;
    }
  }

  const Root* innermostAround(const std::string& real, const Root* except) const {
    const Root* innermost = nullptr;
    for (const Root& root : roots_) {
      if (&root == except || !root.isCounted || !lies(real, root.real)) continue;
      if (innermost == nullptr || root.real.size() > innermost->real.size()) innermost = &root;
    }
    return innermost;
  }

  // `free` for a file without a category.
  Category categoryOf(const std::string& file) const {
    const Root* root = innermostAround(file, nullptr);
    if (root == nullptr) return Category::free;
    // First the root itself, then each folder on the path, then the file. Stops at a fast root.
    std::string item = root->real;
    if (isOneItem(item) || item == file) {
      return isExcluded(*root, file) ? Category::free : categoryOfItem(item, *root);
    }
    if (root->isFast) return isExcluded(*root, file) ? Category::free : Category::systemData;
    while (item != file) {
      const std::size_t from = item == "/" ? 1 : item.size() + 1;
      item = file.substr(0, std::min(file.find('/', from), file.size()));
      if (isOneItem(item)) break;
    }
    return categoryOfItem(item, *root);
  }

  bool isExcluded(const Root& root, const std::string& file) const {
    if (!root.isFast) return false;
    const std::string path = files_.standardizedPath(file);
    return std::any_of(exclusions_.begin(), exclusions_.end(), [&](const std::string& exclusion) {
      return lies(path, exclusion) && exclusion != root.path && !lies(root.path, exclusion);
    });
  }

  std::optional<Category> dictionaryCategory(const std::string& item) const {
    const std::string extension = Text::lowercased(path::extension(item));
    std::optional<Category> found;
    for (const auto& signature : volume_.signatures) {
      const bool isExtension = signature.kind == StorageSignatureRegistry::Signature::Kind::packageExtension;
      if (isExtension && !extension.empty() && Text::lowercased(signature.pattern) == extension) {
        found = signature.category;
      }
    }
    return found;
  }

  bool isOneItem(const std::string& item) const {
    if (!files_.isDirectory(FileURL(item))) return false;
    return dictionaryCategory(item) || files_.isPackage(FileURL(item));
  }

  Category categoryOfItem(const std::string& item, const Root& root) const {
    if (const auto category = dictionaryCategory(item)) return *category;
    const Root* rule = nullptr;
    for (const Root& candidate : roots_) {
      if (!isRule(candidate) || !lies(item, candidate.real)) continue;
      if (rule == nullptr || isBetterRule(candidate, *rule)) rule = &candidate;
    }
    return rule == nullptr ? root.category : rule->category;
  }

  static bool isRule(const Root& root) {
    return root.category != Category::other && root.category != Category::systemData;
  }

  static bool isBetterRule(const Root& left, const Root& right) {
    if (left.real.size() != right.real.size()) return left.real.size() > right.real.size();
    if (left.isLinked != right.isLinked) return !left.isLinked;
    const std::vector<Category> order{Category::photos, Category::communication, Category::development,
                                      Category::games,  Category::documents,     Category::apps};
    return std::find(order.begin(), order.end(), left.category) < std::find(order.begin(), order.end(), right.category);
  }

  const DashboardVolume& volume_;
  FileManager files_;
  StorageDashboardService dashboard_;
  std::vector<Root> roots_;
  std::vector<std::string> exclusions_;
};

}  // namespace
}  // namespace quarn::plain_scan

namespace quarn {

std::vector<PlainlyScanned> plainScan(const DashboardVolume& volume) { return plain_scan::PlainScan(volume).run(); }

}  // namespace quarn
