#include <cstdint>
#include <fstream>
#include <new>
#include <string>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include "QuarnSystem/formats/PropertyList.h"
#include "tests/support/Sanitizers.h"

// Only Linux limits the address space of a process.

namespace quarn::property_list_memory_tests_linux {
namespace {

/// Limits the address space of the process to what it has plus `bytes`, until the end of the scope.
class LimitedMemory {
 public:
  explicit LimitedMemory(std::uint64_t bytes) {
    std::uint64_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    ::getrlimit(RLIMIT_AS, &before_);
    const rlimit limit{.rlim_cur = pages * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE)) + bytes,
                       .rlim_max = before_.rlim_max};
    ::setrlimit(RLIMIT_AS, &limit);
  }
  LimitedMemory(const LimitedMemory&) = delete;
  LimitedMemory& operator=(const LimitedMemory&) = delete;
  ~LimitedMemory() { ::setrlimit(RLIMIT_AS, &before_); }

 private:
  rlimit before_{};
};

// The library would end the process.
TEST(PropertyListMemory, AListThatDoesNotFitInMemoryIsAnError) {
  if (kIsSanitized) GTEST_SKIP() << "sanitizers reserve more address space than a limit allows";
  std::string list = "<array>";
  for (int i = 0; i < 450'000; ++i) list += "<true/>";
  list += "</array>";
  {
    const LimitedMemory memory(std::uint64_t{32} << 20);
    EXPECT_THROW((void)PropertyList::parse(list), std::bad_alloc);
    EXPECT_TRUE(PropertyList::parse("<array><true/></array>"));
  }
  EXPECT_TRUE(PropertyList::parse(list));
}

}  // namespace
}  // namespace quarn::property_list_memory_tests_linux
