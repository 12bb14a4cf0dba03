#include <cerrno>
#include <cstddef>
#include <cstring>
#include <set>

#include <gmock/gmock.h>
#include <linux/audit.h>
#include <linux/seccomp.h>
#include <sys/syscall.h>

#include "quarn/commands/CallFilter_linux.h"

namespace quarn::call_filter_tests_linux {
namespace {

#if defined(__x86_64__)
constexpr std::uint32_t kThisProcessor = AUDIT_ARCH_X86_64;
#else
constexpr std::uint32_t kThisProcessor = AUDIT_ARCH_AARCH64;
#endif
constexpr std::uint32_t kRefused = SECCOMP_RET_ERRNO | EPERM;
constexpr int kCallsToTry = 1024;

struct Verdict {
  std::uint32_t answer = 0;
  unsigned steps = 0;
};

bool isTaken(const sock_filter& line, std::uint32_t value) {
  switch (BPF_OP(line.code)) {
    case BPF_JEQ: return value == line.k;
    case BPF_JGE: return value >= line.k;
    case BPF_JSET: return (value & line.k) != 0;
    default: ADD_FAILURE() << "unknown jump"; return false;
  }
}

// What the kernel answers to a call whose arguments are all 0.
Verdict judged(const std::vector<sock_filter>& lines, int call, std::uint32_t processor = kThisProcessor) {
  seccomp_data data{};
  data.nr = call;
  data.arch = processor;
  std::uint32_t value = 0;
  Verdict verdict;
  for (std::size_t at = 0; at < lines.size(); ++at) {
    const sock_filter& line = lines[at];
    ++verdict.steps;
    switch (BPF_CLASS(line.code)) {
      case BPF_LD: std::memcpy(&value, reinterpret_cast<const char*>(&data) + line.k, sizeof value); break;
      case BPF_ALU: value &= line.k; break;
      case BPF_JMP: at += isTaken(line, value) ? line.jt : line.jf; break;
      case BPF_RET: verdict.answer = line.k; return verdict;
      default: ADD_FAILURE() << "unknown line " << at; return verdict;
    }
  }
  ADD_FAILURE() << "no answer";
  return verdict;
}

// The calls that fail with EPERM whatever their arguments.
const std::set<int>& refusedCalls() {
  static const std::set<int> calls {
    SYS_execve, SYS_execveat, SYS_ptrace, SYS_process_vm_readv, SYS_process_vm_writev, SYS_socket, SYS_socketpair,
        SYS_connect, SYS_bind, SYS_listen, SYS_accept4, SYS_mount, SYS_umount2, SYS_pivot_root, SYS_open_tree,
        SYS_move_mount, SYS_fsopen, SYS_fsconfig, SYS_fsmount, SYS_fspick, SYS_mount_setattr, SYS_chroot, SYS_unshare,
        SYS_setns, SYS_bpf, SYS_perf_event_open, SYS_userfaultfd, SYS_io_uring_setup, SYS_keyctl, SYS_add_key,
        SYS_request_key, SYS_init_module, SYS_finit_module, SYS_delete_module, SYS_kexec_load, SYS_reboot,
        SYS_sethostname, SYS_setdomainname, SYS_settimeofday, SYS_clock_settime, SYS_swapon, SYS_swapoff,
        SYS_open_by_handle_at, SYS_mknodat, SYS_mkdirat, SYS_linkat, SYS_symlinkat, SYS_fchownat, SYS_fchown,
        SYS_fchmodat, SYS_fchmod, SYS_utimensat, SYS_truncate, SYS_setxattr, SYS_lsetxattr, SYS_fsetxattr,
        SYS_removexattr, SYS_lremovexattr, SYS_fremovexattr, SYS_fallocate, SYS_memfd_create, SYS_setuid, SYS_setgid,
        SYS_setreuid, SYS_setresuid, SYS_setregid, SYS_setresgid, SYS_setgroups, SYS_personality, SYS_acct,
        SYS_quotactl, SYS_fanotify_init, 452, 463, 466, 469,
#if defined(__x86_64__)
        SYS_fork, SYS_vfork, SYS_mkdir, SYS_rmdir, SYS_link, SYS_symlink, SYS_mknod, SYS_chown, SYS_lchown, SYS_chmod,
        SYS_utime, SYS_utimes, SYS_futimesat, SYS_creat,
#endif
  };
  return calls;
}

bool isJudgedByArguments(int call) { return call == SYS_clone || call == SYS_clone3 || call == SYS_ioctl; }

TEST(CallFilter, RefusesItsCallsAndApprovesAllOthers) {
  const std::vector<sock_filter> lines = callFilter({});
  ASSERT_FALSE(lines.empty());
  for (int call = 0; call < kCallsToTry; ++call) {
    if (isJudgedByArguments(call)) continue;
    EXPECT_EQ(judged(lines, call).answer, refusedCalls().contains(call) ? kRefused : SECCOMP_RET_ALLOW) << call;
  }
}

TEST(CallFilter, ACommandThatWritesFilesMayChangeTheModeOfAnOpenOne) {
  const std::vector<sock_filter> lines = callFilter({.writesFiles = true});
  for (int call = 0; call < kCallsToTry; ++call) {
    if (isJudgedByArguments(call)) continue;
    const bool isRefused = refusedCalls().contains(call) && call != SYS_fchmod;
    EXPECT_EQ(judged(lines, call).answer, isRefused ? kRefused : SECCOMP_RET_ALLOW) << call;
  }
}

TEST(CallFilter, NewProcessesAndCallsOfOtherProcessorsAreRefused) {
  const std::vector<sock_filter> lines = callFilter({});
  EXPECT_EQ(judged(lines, SYS_clone).answer, kRefused) << "without CLONE_THREAD";
  EXPECT_EQ(judged(lines, SYS_clone3).answer, SECCOMP_RET_ERRNO | ENOSYS);
  EXPECT_EQ(judged(lines, SYS_ioctl).answer, SECCOMP_RET_ERRNO | ENOTTY);
  EXPECT_EQ(judged(lines, SYS_read, AUDIT_ARCH_I386).answer, kRefused);
#if defined(__x86_64__)
  EXPECT_EQ(judged(lines, 0x40000000).answer, kRefused);
#endif
}

// The kernel runs the filter for every call that there is when a command starts.
TEST(CallFilter, EachCallIsJudgedInFewSteps) {
  const std::vector<sock_filter> lines = callFilter({.opening = OpeningCalls::cannotTruncate});
  for (int call = 0; call < kCallsToTry; ++call) EXPECT_LE(judged(lines, call).steps, 30U) << call;
}

}  // namespace
}  // namespace quarn::call_filter_tests_linux
