#include "tests/support/FileErrors.h"

#include "QuarnPlatform/base/FileError.h"

namespace quarn {

int errorOf(const std::function<void()>& work) {
  try {
    work();
  } catch (const FileError& error) {
    return error.error();
  }
  return 0;
}

}  // namespace quarn
