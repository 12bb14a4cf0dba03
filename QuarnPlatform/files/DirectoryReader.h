#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "QuarnPlatform/base/ByteCounts.h"
#include "QuarnPlatform/files/ItemFacts.h"

namespace quarn {

/// Lists one folder: names and types in disk order, without building paths and without a system call per entry. Reuse
/// one reader for many folders; it owns one buffer. Not thread-safe.
///
///   reader.start(folder);
///   while (reader.readMore()) {
///     while (const DirectoryReader::Entry* entry = reader.next()) { ... }
///   }
///   if (reader.error() != 0) { ... }
class DirectoryReader {
 public:
  struct Entry {
    /// NUL-terminated. Valid until the next call of `readMore`, `start` or `resume`.
    std::string_view name;
    FileType type = FileType::other;
    bool hidden = false;  ///< see `HiddenItems`
    /// Of a regular file when they were asked for and the system gives them with the name (macOS). Otherwise absent:
    /// `readSizes` reads them.
    std::optional<ByteCounts> sizes = std::nullopt;
  };

  /// Entries to pass from one reader to another; opaque.
  using Stretch = std::string;

  DirectoryReader();
  ~DirectoryReader();
  DirectoryReader(const DirectoryReader&) = delete;
  DirectoryReader& operator=(const DirectoryReader&) = delete;

  /// Starts listing an open folder at the descriptor's current position. The caller keeps the descriptor. `facts` says
  /// whether sizes are wanted with the entries.
  void start(int folder, EnumeratedFacts facts = EnumeratedFacts::none);
  /// Reads the next batch of entries. Returns false at the end or on an error; see `error()`.
  bool readMore();
  /// The next entry of the batch, without "." and ".."; null at its end. Looks up the type if the file system does
  /// not report it. Skips an entry that vanished before that lookup; an entry that cannot be looked up is reported as a
  /// regular file.
  const Entry* next();
  /// The errno that ended the listing; 0 if it reached the end.
  [[nodiscard]] int error() const;

  /// Takes the second half of the entries that `next()` has not returned yet, for `resume` of another thread's
  /// reader. Empty if there are too few to be worth sharing.
  [[nodiscard]] Stretch takeHalf();
  /// Makes `next()` return the entries that `takeHalf` of another reader took from the same folder.
  void resume(int folder, Stretch stretch);

  /// What the same system call says besides the sizes.
  struct Details {
    std::int64_t modified = 0;  ///< last change of the content, in seconds since 1970
    std::uint64_t device = 0;   ///< identifies the file together with `inode`
    std::uint64_t inode = 0;
    std::uint64_t links = 1;  ///< the number of the file's names
  };

  /// Reads the sizes of the regular file `name` (NUL-terminated) in the open folder `parent`. On failure returns
  /// false and sets errno: ENOENT if the item is no longer a regular file, EOVERFLOW if a size does not fit. Also reads
  /// the details, unless `details` is null.
  static bool readSizes(int parent, const char* name, ByteCounts& sizes, Details* details = nullptr);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace quarn
