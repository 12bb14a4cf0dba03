#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quarn::sample {

/// How much an entry's record says: what the installer writes today, what it wrote about 2014, and the bare type of
/// bills that list paths only.
enum class BomRecords : std::uint8_t { today, older, pathsOnly };

/// How the tree of paths is cut into blocks. The defaults give a file as the installer writes it.
struct BomLayout {
  std::size_t pairsPerNode = 256;
  bool linksLeaves = true;       ///< each leaf names its neighbours; otherwise 0
  bool padsNodes = true;         ///< nodes fill 4,096 bytes whatever they hold
  std::uint32_t tableSlots = 0;  ///< the block table has at least this many entries, most of them unused
  BomRecords records = BomRecords::today;
};

/// Writes an installer's bill of materials. Every operation but the last returns the builder, so that a bill reads as a
/// list; parents are listed as directories as needed.
///
///     BomBuilder().directory("./Applications").file("./Applications/X.app/Contents/Info.plist", 300).bytes()
class BomBuilder {
 public:
  BomBuilder();
  explicit BomBuilder(BomLayout layout);

  /// Paths begin with "./" or without it; what is listed already stays as it is.
  BomBuilder& directory(std::string_view path);
  BomBuilder& file(std::string_view path, std::uint32_t size = 0);
  BomBuilder& link(std::string_view path, std::string_view target);
  BomBuilder& device(std::string_view path);

  /// An entry as it stands, sound or not: its number, its parent's, its name and its record (empty: the null block).
  /// The root folder has number 1, and what the calls above list takes the next ones.
  BomBuilder& entry(std::uint32_t id, std::uint32_t parentId, std::string name, std::string record);

  /// A directory's record, for `entry`.
  [[nodiscard]] std::string directoryRecord() const;
  /// A file's record, for `entry`.
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
  std::map<std::pair<std::uint32_t, std::string>, std::uint32_t> ids_;  ///< of what was listed by path
};

}  // namespace quarn::sample
