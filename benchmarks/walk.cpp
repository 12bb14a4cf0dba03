// walk size|ordered DIR [THREADS]: walks DIR with the library and prints the counts, for comparison with other tools.
// THREADS is the number of threads of `size`, or of the read-ahead threads of `ordered`; the default is the library's.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "QuarnPlatform/files/FileManager.h"
#include "QuarnPlatform/walking/DirectoryEnumerator.h"
#include "QuarnPlatform/walking/TreeSizer.h"

namespace {

void print(std::uint64_t items, const quarn::ByteCounts& bytes) {
  std::printf("items=%llu logical=%lld alloc=%lld\n", static_cast<unsigned long long>(items),
              static_cast<long long>(bytes.logicalBytes), static_cast<long long>(bytes.allocatedBytes));
}

int size(const quarn::FileManager& files, unsigned threads) {
  print(0, quarn::TreeSizer::total(files, quarn::FileURL(), {.threads = threads}));
  return 0;
}

int ordered(const quarn::FileManager& files, unsigned helpers) {
  quarn::DirectoryEnumerator items(files, quarn::FileURL(),
                                   {.facts = quarn::EnumeratedFacts::sizes, .readAheadThreads = helpers});
  std::uint64_t count = 0;
  quarn::ByteCounts bytes;
  while (const auto* item = items.next()) {
    ++count;
    if (const auto sizes = item->sizes()) bytes += *sizes;
  }
  print(count, bytes);
  return items.rootError();
}

}  // namespace

int main(int argumentCount, char** arguments) {
  const std::string_view what = argumentCount > 1 ? arguments[1] : "";
  if (argumentCount < 3 || (what != "size" && what != "ordered")) {
    std::fputs("usage: walk size|ordered DIR [THREADS]\n", stderr);
    return 2;
  }
  const auto files = quarn::FileManager::mounted(arguments[2], quarn::FileURL());
  const unsigned standard = what == "size" ? 0 : quarn::DirectoryEnumerator::kReadAheadOfLongWalks;
  const auto threads = argumentCount > 3 ? static_cast<unsigned>(std::strtoul(arguments[3], nullptr, 10)) : standard;
  return what == "size" ? size(files, threads) : ordered(files, threads);
}
