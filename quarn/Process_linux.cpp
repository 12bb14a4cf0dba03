#include "quarn/Process.h"

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace quarn {

// A walk starts threads, and glibc would give many of them a heap of their own, most of it empty. Two are enough: what
// the threads of a walk allocate they keep and use again.
void settleProcess() {
#ifdef __GLIBC__
  ::mallopt(M_ARENA_MAX, 2);
#endif
}

}  // namespace quarn
