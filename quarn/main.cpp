#include "quarn/commands/CommandLine.h"

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace {

// A walk starts threads, and glibc would give many of them a heap of their own, most of it empty. Two are enough: what
// the threads of a walk allocate they keep and use again.
void keepHeapsFew() {
#ifdef __GLIBC__
  ::mallopt(M_ARENA_MAX, 2);
#endif
}

}  // namespace

int main(int count, char** words) {
  keepHeapsFew();
  return quarn::runCommandLine({words + 1, words + count});
}
