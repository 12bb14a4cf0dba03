#include "tests/support/MemoryVolume.h"

#include <cstdlib>
#include <optional>

#include <unistd.h>

namespace quarn {
namespace {

constexpr const char* kVariable = "TMPDIR";
constexpr const char* kMemory = "/dev/shm";

// Changes the folder for temporary files during its lifetime.
class TemporaryPlace {
 public:
  explicit TemporaryPlace(const char* folder) {
    if (const char* before = std::getenv(kVariable)) before_ = before;
    ::setenv(kVariable, folder, 1);
  }
  ~TemporaryPlace() { before_ ? ::setenv(kVariable, before_->c_str(), 1) : ::unsetenv(kVariable); }
  TemporaryPlace(const TemporaryPlace&) = delete;
  TemporaryPlace& operator=(const TemporaryPlace&) = delete;

 private:
  std::optional<std::string> before_;
};

}  // namespace

MacVolume volumeInMemory(std::string_view home) {
  if (::access(kMemory, W_OK | X_OK) != 0) return MacVolume(home);
  const TemporaryPlace memory(kMemory);
  return MacVolume(home);
}

}  // namespace quarn
