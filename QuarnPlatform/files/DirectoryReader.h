#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "QuarnPlatform/base/ByteCounts.h"
#include "QuarnPlatform/files/ItemFacts.h"

namespace quarn {

/// One folder's entries, straight from the system: names and types in the order of the disk, no path built, no call per
/// entry. One reader is reused for many folders; it owns one buffer. Not safe for use from two threads at once.
///
///   reader.start(folder);
///   while (reader.readMore()) {
///     while (const DirectoryReader::Entry* entry = reader.next()) { ... }
///   }
///   if (reader.error() != 0) { ... }
class DirectoryReader {
 public:
  struct Entry {
    std::string_view
        name;  ///< valid until the next call of `readMore`, `start` or `resume`; a NUL stands behind its end
    FileType type = FileType::other;
    bool hidden = false;  ///< see `HiddenItems`
  };

  /// Entries taken from one reader for another one; opaque.
  using Stretch = std::string;

  DirectoryReader();
  ~DirectoryReader();
  DirectoryReader(const DirectoryReader&) = delete;
  DirectoryReader& operator=(const DirectoryReader&) = delete;

  /// Starts listing an open folder where its descriptor stands; the descriptor stays the caller's.
  void start(int folder);
  /// Reads the next stretch of entries. False at the end or on an error, which `error()` then holds.
  bool readMore();
  /// The next entry of the stretch read, "." and ".." left out; null at its end. The type of an entry that the file
  /// system does not tell is looked up; an entry that vanished before that is left out, and one that cannot be looked
  /// up is given out as a regular file.
  const Entry* next();
  /// The errno that ended the listing; 0 when it was read to its end.
  [[nodiscard]] int error() const;

  /// Takes the second half of the entries that `next()` has not given out yet, for the `resume` of another thread's
  /// reader; empty when so few are left that sharing them does not pay.
  [[nodiscard]] Stretch takeHalf();
  /// Gives out, by `next()`, the entries that another reader's `takeHalf` took from the same folder.
  void resume(int folder, Stretch stretch);

  /// Sizes of the regular file `name` (NUL-terminated) of the open folder `parent`; false and errno when they cannot be
  /// read: ENOENT when the item is no regular file any more, EOVERFLOW when a size does not fit.
  static bool readSizes(int parent, const char* name, ByteCounts& sizes);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace quarn
