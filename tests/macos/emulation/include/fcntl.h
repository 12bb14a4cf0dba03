#pragma once
// The Darwin flags that Linux lacks, for the emulation: in bits that neither system's own flags use here.
#include_next <fcntl.h>

#define O_SEARCH 0x10000000
#define O_NOFOLLOW_ANY 0x20000000
#define AT_SYMLINK_NOFOLLOW_ANY 0x10000000
#define AT_FDONLY 0x20000000
#define AT_REALDEV 0x40000000
