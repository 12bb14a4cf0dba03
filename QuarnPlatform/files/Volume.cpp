#include "QuarnPlatform/files/Volume.h"

#include <cerrno>

#include <fcntl.h>

#include "QuarnPlatform/base/FileError.h"
#include "QuarnPlatform/base/Interruption.h"
#include "QuarnPlatform/files/PathWalk.h"

// What is the same on every system.
namespace quarn {

Volume::Volume(const std::string& hostFolder, AccessTimes accessTimes)
    : hostFolder_(hostFolder), accessTimes_(accessTimes) {
  root_ = FileDescriptor(
      againIfInterrupted([&] { return ::open(hostFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
  if (!root_.isOpen()) throwFileError("open volume", hostFolder);
  // Where no access time can change there is nothing to refuse.
  if (accessTimes == AccessTimes::keepIfPermitted) return;
  const VolumeMount how = mount();
  if (how.isReadOnly || how.keepsAccessTimes) accessTimes_ = AccessTimes::keepIfPermitted;
}

FileDescriptor Volume::openFolder(std::string_view path, Links links) const {
  return openWith(O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC, path, links);
}

// One call finds out that the item is missing or that the path has no links; nearly all lookups end here.
std::optional<std::string> Volume::resolve(std::string_view path) const {
  if (holdsNul(path)) {
    errno = ENOENT;
    return std::nullopt;
  }
  const Resolution atOnce = resolveAtOnce(path);
  if (atOnce == Resolution::missing) return std::nullopt;
  if (atOnce == Resolution::isThePath) return std::string(path);
  const std::optional<WalkedPlace> place = walkBelow(root_.get(), path, Links::follow);
  if (!place) return std::nullopt;
  std::string resolved;
  for (const std::string& name : place->names) (resolved += '/') += name;
  return resolved.empty() ? "/" : resolved;
}

}  // namespace quarn
