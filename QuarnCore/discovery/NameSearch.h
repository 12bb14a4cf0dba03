#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "QuarnModels/AppEntity.h"
#include "QuarnModels/Artifact.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnPlatform/text/TextSet.h"
#include "QuarnPlatform/walking/DirectoryEnumerator.h"

namespace quarn {

/// The searches by resembling names (see `ArtifactScanner`), for several apps at once: each folder is walked once and
/// each name folded once, whatever the number of apps, and looked for with all their keys together. What it finds for
/// an app does not depend on the others. Used from one thread; refers to the file manager, which must outlive it.
class NameSearch {
 public:
  enum class Where : std::uint8_t { userLibrary, systemLibrary, documents };

  /// Walks the search's folders when it is made. With one app the walk ends when its results are complete.
  NameSearch(Where where, const std::vector<AppEntity>& apps, const FileManager& files, long maxDepth, long maxResults);

  /// What is found for one of the apps, in the order of the walk, `maxResults` at most.
  [[nodiscard]] std::vector<Artifact> finds(const AppEntity& app) const;

 private:
  /// A normalised name to look for. The length is counted once, not per item.
  struct Key {
    std::string text;
    bool isLong = false;
    std::vector<std::uint32_t> items;  ///< that hold it, in the order of the walk, `maxResults` at most
  };
  struct Item {
    FileURL url;
    std::uint8_t root;
  };

  void addKeys(const AppEntity& app);
  void addKey(std::string text);
  void walk(const FileURL& folder, std::uint8_t root);
  void consider(const DirectoryEnumerator::Item& item, std::uint8_t root);
  [[nodiscard]] bool isWanted(const Key& key, const std::string& itemKey) const;
  [[nodiscard]] bool isFull() const;
  [[nodiscard]] const Key* key(const std::string& text) const;
  [[nodiscard]] std::vector<std::uint32_t> itemsOf(const Key* bundle, const Key* name) const;
  [[nodiscard]] Artifact makeArtifact(const Item& item, const Key* bundle, const Key* name) const;

  const FileManager& files_;
  Where where_;
  long maxDepth_;
  long maxResults_;
  bool isForOneApp_;
  std::string documentsPath_;
  std::vector<Key> keys_;
  std::unordered_map<std::string, std::uint32_t> keyByText_;
  TextSet texts_;
  std::vector<Item> items_;
};

}  // namespace quarn
