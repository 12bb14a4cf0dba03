#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "QuarnModels/AppEntity.h"
#include "QuarnModels/Artifact.h"
#include "QuarnPlatform/base/Cancellation.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnPlatform/text/TextSet.h"
#include "QuarnPlatform/walking/DirectoryEnumerator.h"

namespace quarn {

/// The searches by similar names (see `ArtifactScanner`) for several apps at once. Walks each folder once and
/// normalises each name once, whatever the number of apps, and searches it for the keys of all apps together. The finds
/// of an app do not depend on the other apps. Use it from one thread.
class NameSearch {
 public:
  enum class Where : std::uint8_t { userLibrary, systemLibrary, documents };
  struct Limits {
    long maxDepth;
    long maxResults;  ///< per app
  };

  /// Walks the folders. With one app, the walk ends when its results are complete; if cancelled, it ends early.
  NameSearch(Where where, const std::vector<AppEntity>& apps, const FileManager& files, Limits limits,
             const Cancellation& cancellation);

  /// The finds of one of the apps, in walk order.
  [[nodiscard]] std::vector<Artifact> finds(const AppEntity& app) const;

 private:
  /// A normalised name to search for, with its length computed once.
  struct Key {
    std::string text;
    bool isLong = false;
    std::vector<std::uint32_t> items;  ///< that contain it, in walk order, `maxResults` at most
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

  const FileManager files_;
  Where where_;
  Limits limits_;
  bool isForOneApp_;
  std::string documentsPath_;
  std::vector<Key> keys_;
  std::unordered_map<std::string, std::uint32_t> keyByText_;
  TextSet texts_;
  std::vector<Item> items_;
};

}  // namespace quarn
