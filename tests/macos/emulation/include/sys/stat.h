#pragma once
#include_next <sys/stat.h>

// A field that Linux leaves unused.
#define st_flags __glibc_reserved[0]
#define UF_HIDDEN 0x00008000
#define SF_DATALESS 0x40000000
