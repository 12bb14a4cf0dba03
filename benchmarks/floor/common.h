#pragma once
#ifndef _GNU_SOURCE
#define _GNU_SOURCE
#endif
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

struct linux_dirent64 {  // kernel layout of getdents64 records
  uint64_t d_ino;
  int64_t d_off;
  uint16_t d_reclen;
  uint8_t d_type;
  char d_name[];
};
static inline long sys_getdents64(int fd, void* b, size_t n) { return syscall(SYS_getdents64, fd, b, n); }
static constexpr unsigned kMask = STATX_TYPE | STATX_SIZE | STATX_BLOCKS;
static constexpr int kFlags = AT_SYMLINK_NOFOLLOW | AT_STATX_DONT_SYNC;
static inline int sys_statx(int fd, const char* n, unsigned mask, struct statx* st, int flags = kFlags) {
  return (int)syscall(SYS_statx, fd, n, flags, mask, st);
}
static inline bool dotdot(const char* n) { return n[0] == '.' && (n[1] == 0 || (n[1] == '.' && n[2] == 0)); }
struct Totals {
  uint64_t files = 0, dirs = 0, logical = 0, alloc = 0, errs = 0, pad[3];
  void add(const Totals& o) {
    files += o.files, dirs += o.dirs, logical += o.logical, alloc += o.alloc, errs += o.errs;
  }
  void print(const char* tag) const {
    printf("%s items=%llu dirs=%llu logical=%llu alloc=%llu errs=%llu\n", tag, (unsigned long long)files,
           (unsigned long long)dirs, (unsigned long long)logical, (unsigned long long)alloc, (unsigned long long)errs);
  }
};
