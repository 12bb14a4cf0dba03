#include "QuarnPlatform/walking/SizedFolder.h"

#include <string>
#include <utility>

#include "QuarnPlatform/files/Packages.h"

namespace quarn {

SizedFolder::SizedFolder(std::shared_ptr<const WalkedFolders::Use> use, int descriptor, const Attribution::Step& step,
                         FolderObserver::Folder observed)
    : use_(std::move(use)), descriptor_(descriptor), step_(step), asPackage_(step), observed_(observed) {}

SizedFolder::SizedFolder(const WalkedFolders::Use& parent, std::string_view name, FileDescriptor descriptor,
                         const Attribution::Step& step, const Attribution::Step& asPackage,
                         FolderObserver::Folder observed)
    : parent_(&parent),
      name_(name),
      own_(std::move(descriptor)),
      descriptor_(own_.get()),
      step_(step),
      asPackage_(asPackage),
      observed_(observed) {}

const Attribution::Step& SizedFolder::judge() {
  if (asPackage_ != step_) {
    if (hasBundleBit(descriptor_)) step_ = asPackage_;
    asPackage_ = step_;
  }
  return step_;
}

std::optional<std::uint8_t> SizedFolder::bucketOf(const Attribution& attribution, std::string_view name) {
  const std::optional<std::uint8_t> bucket = attribution.file(step_, name);
  if (asPackage_ == step_ || attribution.file(asPackage_, name) == bucket) return bucket;
  return attribution.file(judge(), name);
}

std::optional<SubFolders::Item> SizedFolder::subFolder(const Attribution& attribution, bool needsPackages,
                                                       std::string_view name) {
  const Attribution::Step& parent = judge();
  SubFolders::Item item{.step = {}, .asPackage = attribution.folder(parent, name, needsPackages)};
  const bool isKnown = !needsPackages || isPackageName(name);
  item.step = isKnown ? item.asPackage : attribution.folder(parent, name, /*isPackage=*/false);
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
