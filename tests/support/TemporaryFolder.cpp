#include "tests/support/TemporaryFolder.h"

#include <cstdlib>

#include <sys/statvfs.h>
#include <unistd.h>

#include "QuarnBuilders/ExtendedAttribute.h"

namespace quarn {
namespace {

constexpr const char* kMemory = "/dev/shm";
constexpr unsigned long long kNeededBytes = 1ULL << 30;

bool hasRoom(const char* folder) {
  struct statvfs space {};
  return ::statvfs(folder, &space) == 0 && space.f_bavail * space.f_frsize >= kNeededBytes;
}

bool takesAttributes(const char* folder) {
  std::string probe = std::string(folder) + "/quarn-probe-XXXXXX";
  const int file = ::mkstemp(probe.data());
  if (file < 0) return false;
  const bool takes = sample::setAttribute(file, "user.quarn.probe", "x") == 0;
  ::close(file);
  ::unlink(probe.c_str());
  return takes;
}

}  // namespace

std::string temporaryFolder() {
  if (const char* wanted = std::getenv("TMPDIR"); wanted != nullptr && *wanted == '/') return wanted;
  static const bool isInMemory = hasRoom(kMemory) && takesAttributes(kMemory);
  return isInMemory ? kMemory : "/tmp";
}

}  // namespace quarn
