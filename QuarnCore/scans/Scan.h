#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "QuarnCore/scans/ScanContent.h"
#include "QuarnCore/scans/ScanError.h"
#include "QuarnCore/storage/HomeFolders.h"

namespace quarn {

struct ScanTable;

/// A value of a table as it is in the file. A text that is not UTF-8 is a blob.
struct ScanBlob {
  std::string bytes;
};
using ScanValue = std::variant<std::monostate, std::int64_t, double, std::string, ScanBlob>;

/// A scan in a file. Reads what it is asked for, not the whole file, and writes nothing. The file may come from
/// anywhere: each table is checked before it is read (folders: that none is missing or out of order), and so is every
/// value. All operations throw ScanError if the file is damaged, and FileError if it cannot be read. Copies share the
/// file. Belongs to one thread at a time.
class Scan {
 public:
  /// Opens a scan of this version of the program or of an older one. Throws ScanError for other files, and FileError.
  static Scan open(const std::string& file);

  static constexpr std::uint32_t kLastFolder = std::numeric_limits<std::uint32_t>::max();  ///< an id after all others
  static constexpr std::size_t kAllLeftovers = std::numeric_limits<std::size_t>::max();

  [[nodiscard]] const std::string& file() const;
  [[nodiscard]] const ScanFacts& facts() const;

  /// The users of a scan of all users; empty for a scan of one home folder.
  [[nodiscard]] const std::vector<ScannedUser>& users() const;
  /// Their home folders, in the same order.
  [[nodiscard]] HomeFolders homes() const;
  [[nodiscard]] std::vector<StorageCategory> categories() const;
  [[nodiscard]] std::vector<ScannedRoot> roots() const;
  /// The places of the categories, in the order in which they decide: the first one with a path counts.
  [[nodiscard]] std::vector<ScannedPlace> places() const;
  /// Every existing path of a vendor. Of equal paths of a category, the first one counts.
  [[nodiscard]] std::vector<VendorPathHint> vendorPaths() const;
  /// The apps; with their inspections only on request.
  [[nodiscard]] std::vector<ScannedApp> apps(bool withInspections) const;
  [[nodiscard]] std::vector<Ownership> entries() const;
  /// The entries with what says whose they are, and nothing else: path, status, owners, rivals and former owner.
  [[nodiscard]] std::vector<Ownership> owners() const;
  /// The packages of entries.
  [[nodiscard]] std::vector<ScannedPackage> packages() const;
  /// The first leftovers; the largest come first.
  [[nodiscard]] std::vector<Leftover> leftovers(std::size_t most = kAllLeftovers) const;
  [[nodiscard]] std::size_t leftoverCount() const;
  [[nodiscard]] std::vector<LaunchdEntry> jobs() const;
  [[nodiscard]] std::vector<ReceiptInfo> receipts() const;
  [[nodiscard]] std::vector<KernelExtensionInfo> extensions() const;
  [[nodiscard]] std::vector<UnreadableItem> unreadable() const;
  /// Everything except folders and files.
  [[nodiscard]] ScanContent content() const;

  /// The folder at an absolute path without links; absent if the scan has none there.
  [[nodiscard]] std::optional<ScannedFolder> folder(std::string_view path) const;
  /// The folder with this id.
  [[nodiscard]] ScannedFolder folderWithID(std::uint32_t id) const;
  /// The packages among the folders `first` to `last`, in order.
  [[nodiscard]] std::vector<ScannedFolder> packages(std::uint32_t first, std::uint32_t last) const;
  /// The folders directly in a folder, by name.
  [[nodiscard]] std::vector<ScannedFolder> children(const ScannedFolder& folder) const;
  /// Calls `consume` for the folders `first` to `last`, in order. Stops when it returns false.
  void folders(std::uint32_t first, std::uint32_t last, const std::function<bool(const ScannedFolder&)>& consume) const;
  /// The largest files in the folders `first` to `last`, in the order of the folders, then by name.
  [[nodiscard]] std::vector<ScannedFile> largeFiles(std::uint32_t first, std::uint32_t last) const;
  /// The part of a folder's sizes that is hidden, as seen from that folder.
  [[nodiscard]] SizeInfo hiddenSizes(std::uint32_t folder) const;
  /// The sizes of a folder without that part.
  [[nodiscard]] SizeInfo visibleSizes(const ScannedFolder& folder) const;

  /// The tables of the file, which an older version of the program may have written.
  [[nodiscard]] std::vector<ScanTable> tables() const;
  /// Calls `consume` for the rows of a table, in order. Stops when it returns false.
  void rows(const ScanTable& table, const std::function<bool(const std::vector<ScanValue>&)>& consume) const;

  /// Reads every table with all checks, for tests of hostile files.
  void readAll() const;

 private:
  struct State;
  explicit Scan(std::shared_ptr<State> state) : state_(std::move(state)) {}
  template <class Read>
  auto reading(std::initializer_list<std::string_view> tables, const Read& read) const;
  template <class Record, class Read>
  std::vector<Record> listed(std::string_view table, const Read& read) const;

  std::shared_ptr<State> state_;
};

}  // namespace quarn
