#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quarn::sample {

/// The form of the records: as installers write them today, as they did around 2014, or only a type, in bills that
/// list paths only.
enum class BomRecords : std::uint8_t { today, older, pathsOnly };

/// How the tree of paths is split into blocks. The defaults match the files of the installer.
struct BomLayout {
  std::size_t pairsPerNode = 256;
  bool linksLeaves = true;       ///< leaves link to their neighbours; otherwise the links are 0
  bool padsNodes = true;         ///< nodes are padded to 4,096 bytes
  std::uint32_t tableSlots = 0;  ///< minimum number of entries in the block table
  BomRecords records = BomRecords::today;
};

/// Builds an installer's bill of materials. All methods except `bytes` return the builder, so calls can be chained.
/// Missing parents are added as directories.
///
///     BomBuilder().directory("./Applications").file("./Applications/X.app/Contents/Info.plist", 300).bytes()
class BomBuilder {
 public:
  BomBuilder();
  explicit BomBuilder(BomLayout layout);

  /// Paths may begin with "./". A path that is already listed stays unchanged.
  BomBuilder& directory(std::string_view path);
  BomBuilder& file(std::string_view path, std::uint32_t size = 0);
  BomBuilder& link(std::string_view path, std::string_view target);
  BomBuilder& device(std::string_view path);

  /// Adds a raw entry, valid or not: its number, its parent's number, its name and its record (empty: the null
  /// block). The root folder has number 1; the methods above use the following numbers.
  BomBuilder& entry(std::uint32_t id, std::uint32_t parentId, std::string name, std::string record);

  /// The record of a directory, for `entry`.
  [[nodiscard]] std::string directoryRecord() const;
  /// The record of a file, for `entry`.
  [[nodiscard]] std::string fileRecord(std::uint32_t size = 0) const;

  [[nodiscard]] std::string bytes() const;

 private:
  struct Entry {
    std::uint32_t id = 0;
    std::uint32_t parentId = 0;
    std::string name;
    std::string record;
  };

  [[nodiscard]] std::string record(unsigned type, std::uint32_t mode, std::uint32_t size,
                                   std::string_view target) const;
  BomBuilder& add(std::string_view path, const std::string& record);

  BomLayout layout_;
  std::vector<Entry> entries_;
  std::map<std::pair<std::uint32_t, std::string>, std::uint32_t> ids_;  ///< ids of the listed paths
};

}  // namespace quarn::sample
