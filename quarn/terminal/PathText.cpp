#include "quarn/terminal/PathText.h"

#include "QuarnPlatform/paths/Path.h"

namespace quarn {

std::string pathText(const FileURL& url, const FileURL& home) {
  const std::string& folder = home.path();
  if (folder != "/" && path::isInside(url.path(), folder)) return "~" + url.path().substr(folder.size());
  return url.path();
}

}  // namespace quarn
