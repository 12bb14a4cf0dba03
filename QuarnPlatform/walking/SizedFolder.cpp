#include "QuarnPlatform/walking/SizedFolder.h"

#include <string>
#include <utility>

#include "QuarnPlatform/files/Packages.h"

namespace quarn {

SizedFolder::SizedFolder(const SizedTree& tree, std::shared_ptr<const WalkedFolders::Use> use, int descriptor,
                         const Attribution::Step& step, FolderObserver::Folder observed)
    : tree_(tree),
      use_(std::move(use)),
      descriptor_(descriptor),
      judgement_(attribution(), step),
      asPackage_(judgement_),
      isDecided_(true),
      observed_(observed) {}

SizedFolder::SizedFolder(const SizedTree& tree, const WalkedFolders::Use& parent, std::string_view name,
                         FileDescriptor descriptor, const Attribution::Step& step, const Attribution::Step& asPackage,
                         FolderObserver::Folder observed)
    : tree_(tree),
      parent_(&parent),
      name_(name),
      own_(std::move(descriptor)),
      descriptor_(own_.get()),
      judgement_(attribution(), step),
      asPackage_(asPackage == step ? judgement_ : Judgement(attribution(), asPackage)),
      isDecided_(asPackage == step),
      observed_(observed) {}

const Attribution::Step& SizedFolder::judge() {
  if (!isDecided_) {
    const BundleBit bit = bundleBit(descriptor_);
    if (bit.isSet) judgement_ = asPackage_;
    error_ = bit.error;
    isDecided_ = true;
  }
  return judgement_.step;
}

std::optional<std::uint8_t> SizedFolder::bucketByName(std::string_view name) {
  const std::optional<std::uint8_t> bucket = judgement_.bucketOf(attribution(), name);
  if (isDecided_ || asPackage_.bucketOf(attribution(), name) == bucket) return bucket;
  judge();
  return judgement_.bucketOf(attribution(), name);
}

std::optional<SubFolders::Item> SizedFolder::subFolder(std::string_view name) {
  const Attribution::Step& parent = judge();
  SubFolders::Item item{.step = {}, .asPackage = attribution().folder(parent, name, tree_.needsPackages)};
  const bool isKnown = !tree_.needsPackages || isPackageName(name);
  item.step = isKnown ? item.asPackage : attribution().folder(parent, name, /*isPackage=*/false);
  return item.step || item.asPackage ? std::optional(item) : std::nullopt;
}

std::shared_ptr<const WalkedFolders::Use> SizedFolder::share() {
  if (use_) return use_;
  FileDescriptor second = own_.duplicate();
  if (!second.isOpen()) return nullptr;
  use_ = std::make_shared<const WalkedFolders::Use>(parent_->add(name_, std::move(second)));
  return use_;
}

WalkedFolders::Use SizedFolder::handOver() { return use_ ? use_->duplicate() : parent_->add(name_, std::move(own_)); }

std::string SizedFolder::pathOf(std::string_view name) const {
  if (use_) return use_->path().append("/").append(name);
  return parent_->path().append("/").append(name_).append("/").append(name);
}

}  // namespace quarn
