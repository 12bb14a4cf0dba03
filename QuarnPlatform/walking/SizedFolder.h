#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "QuarnPlatform/base/FileDescriptor.h"
#include "QuarnPlatform/walking/SizingTask.h"
#include "QuarnPlatform/walking/TreeSizer.h"
#include "QuarnPlatform/walking/WalkedFolders.h"

namespace quarn {

/// A folder that a thread is reading, and how its items are judged. Whether the folder is a package costs a system
/// call, so it is looked up only for the first item that would count differently in a package. `WalkedFolders` learns
/// of the folder, by a use, only when something in it is left for later: most folders hold no other folders. Belongs to
/// one thread.
class SizedFolder {
 public:
  /// A folder that `WalkedFolders` knows; `descriptor` must stay open.
  SizedFolder(const SizedTree& tree, std::shared_ptr<const WalkedFolders::Use> use, int descriptor,
              const Attribution::Step& step, FolderObserver::Folder observed);
  /// The folder `name` in `parent`, just opened, or not open if it is known whether it is a package. The name, the
  /// parent and the tree must live as long as this.
  SizedFolder(const SizedTree& tree, const WalkedFolders::Use& parent, std::string_view name, FileDescriptor descriptor,
              const Attribution::Step& step, const Attribution::Step& asPackage, FolderObserver::Folder observed);

  [[nodiscard]] int descriptor() const { return descriptor_; }
  /// The observer's number of the folder.
  [[nodiscard]] FolderObserver::Folder observed() const { return observed_; }
  /// Where its subfolders are looked for among the kept listings.
  [[nodiscard]] const KeptListings::Place& place() const { return place_; }
  void setPlace(const KeptListings::Place& place) { place_ = place; }
  /// The files that the observer does not know yet.
  [[nodiscard]] FolderObserver::Counted& counted() { return counted_; }
  /// The final judgement, after looking up whether the folder is a package if that matters.
  const Attribution::Step& judge();
  /// The errno if it is unknown whether the folder is a package; 0 otherwise.
  [[nodiscard]] int error() const { return error_; }
  /// The total that a file counts to; absent leaves it out.
  [[nodiscard]] std::optional<std::uint8_t> bucketOf(std::string_view name) {
    return isDecided_ && judgement_.everyFile ? judgement_.everyFile : bucketByName(name);
  }
  /// How a subfolder is to be entered; absent leaves it out.
  [[nodiscard]] std::optional<SubFolders::Item> subFolder(std::string_view name);

  /// A use that several threads can share, so that they can read parts of the folder; null without a descriptor to
  /// spare. It gets a descriptor of its own, because its descriptor may be closed and reopened while this thread reads.
  std::shared_ptr<const WalkedFolders::Use> share();
  /// A use for what is left in the folder. The folder itself is read no more.
  WalkedFolders::Use handOver();
  /// The path of the item `name` below the walk's root.
  [[nodiscard]] std::string pathOf(std::string_view name) const;

 private:
  struct Judgement {
    Judgement(const Attribution& attribution, const Attribution::Step& judged)
        : step(judged), everyFile(attribution.everyFile(judged)) {}

    [[nodiscard]] std::optional<std::uint8_t> bucketOf(const Attribution& attribution, std::string_view name) const {
      return everyFile ? everyFile : attribution.file(step, name);
    }

    Attribution::Step step;
    std::optional<std::uint8_t> everyFile;  // the total of all files, where they have the same
  };

  std::optional<std::uint8_t> bucketByName(std::string_view name);

  [[nodiscard]] const Attribution& attribution() const { return *tree_.tree.attribution; }

  const SizedTree& tree_;
  const WalkedFolders::Use* parent_ = nullptr;  // null when `use_` was given
  std::string_view name_;
  FileDescriptor own_;
  std::shared_ptr<const WalkedFolders::Use> use_;
  int descriptor_;
  Judgement judgement_;
  Judgement asPackage_;
  bool isDecided_;  // it is known whether the folder is a package, or does not matter
  int error_ = 0;
  FolderObserver::Folder observed_;
  FolderObserver::Counted counted_;
  KeptListings::Place place_;
};

}  // namespace quarn
