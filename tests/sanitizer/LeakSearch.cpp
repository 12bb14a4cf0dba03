// The leak checker traces its own process. The kernel refuses this if the process changed its user when it started, as
// the tests of denied access do.

#include <sys/auxv.h>

extern "C" int __lsan_is_turned_off() { return ::getauxval(AT_SECURE) != 0 ? 1 : 0; }
