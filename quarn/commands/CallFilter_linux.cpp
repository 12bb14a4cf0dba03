#include "quarn/commands/CallFilter_linux.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <span>

#include <asm/ioctls.h>
#include <fcntl.h>
#include <linux/audit.h>
#include <linux/sched.h>
#include <linux/seccomp.h>
#include <sys/syscall.h>

#include "QuarnPlatform/files/OpenHow_linux.h"

namespace quarn {
namespace {

#if defined(__x86_64__)
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_X86_64;
constexpr std::uint32_t kFirstForeignCall = 0x40000000;  // of the 32-bit form
#elif defined(__aarch64__)
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_AARCH64;
constexpr std::uint32_t kFirstForeignCall = 0xFFFFFFFF;
#else
constexpr std::uint32_t kArchitecture = 0;
constexpr std::uint32_t kFirstForeignCall = 0;
#endif

// The oldest supported headers lack these. The numbers are the same for all processors.
constexpr int kChangeModeAt = 452;
constexpr int kSetAttributeAt = 463;
constexpr int kRemoveAttributeAt = 466;
constexpr int kSetFileAttribute = 469;

// Allowed are only the calls that create, rename and remove the file that the command writes.
constexpr std::array kRefusedCalls {
  SYS_execve, SYS_execveat, SYS_ptrace, SYS_process_vm_readv, SYS_process_vm_writev, SYS_socket, SYS_socketpair,
      SYS_connect, SYS_bind, SYS_listen, SYS_accept4, SYS_mount, SYS_umount2, SYS_pivot_root, SYS_open_tree,
      SYS_move_mount, SYS_fsopen, SYS_fsconfig, SYS_fsmount, SYS_fspick, SYS_mount_setattr, SYS_chroot, SYS_unshare,
      SYS_setns, SYS_bpf, SYS_perf_event_open, SYS_userfaultfd, SYS_io_uring_setup, SYS_keyctl, SYS_add_key,
      SYS_request_key, SYS_init_module, SYS_finit_module, SYS_delete_module, SYS_kexec_load, SYS_reboot,
      SYS_sethostname, SYS_setdomainname, SYS_settimeofday, SYS_clock_settime, SYS_swapon, SYS_swapoff,
      SYS_open_by_handle_at, SYS_mknodat, SYS_mkdirat, SYS_linkat, SYS_symlinkat, SYS_fchownat, SYS_fchown,
      SYS_fchmodat, SYS_utimensat, SYS_truncate, SYS_setxattr, SYS_lsetxattr, SYS_fsetxattr, SYS_removexattr,
      SYS_lremovexattr, SYS_fremovexattr, SYS_fallocate, SYS_memfd_create, SYS_setuid, SYS_setgid, SYS_setreuid,
      SYS_setresuid, SYS_setregid, SYS_setresgid, SYS_setgroups, SYS_personality, SYS_acct, SYS_quotactl,
      SYS_fanotify_init, kChangeModeAt, kSetAttributeAt, kRemoveAttributeAt, kSetFileAttribute,
#if defined(__x86_64__)
      SYS_fork, SYS_vfork, SYS_mkdir, SYS_rmdir, SYS_link, SYS_symlink, SYS_mknod, SYS_chown, SYS_lchown, SYS_chmod,
      SYS_utime, SYS_utimes, SYS_futimesat, SYS_creat,
#endif
};

using Lines = std::vector<sock_filter>;

sock_filter statement(std::uint16_t code, std::uint32_t value) { return {code, 0, 0, value}; }
sock_filter jump(std::uint16_t code, std::uint32_t value, std::size_t ifTrue, std::size_t ifFalse) {
  return {static_cast<std::uint16_t>(BPF_JMP | BPF_K | code), static_cast<std::uint8_t>(ifTrue),
          static_cast<std::uint8_t>(ifFalse), value};
}
sock_filter load(std::size_t offset) { return statement(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(offset)); }
sock_filter answer(std::uint32_t value) { return statement(BPF_RET | BPF_K, value); }
sock_filter refusal(int error) { return answer(SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(error)); }
sock_filter approval() { return answer(SECCOMP_RET_ALLOW); }

// The lower half of an argument. Both supported processors store it first.
constexpr std::size_t argument(std::size_t number) {
  return offsetof(seccomp_data, args) + number * sizeof(std::uint64_t);
}
constexpr std::size_t upperHalf(std::size_t number) { return argument(number) + sizeof(std::uint32_t); }

// If it is this call, the lines of the verdict run, and one of them must answer. For another call they are skipped.
void judge(Lines& lines, long call, const Lines& verdict) {
  lines.push_back(jump(BPF_JEQ, static_cast<std::uint32_t>(call), 0, verdict.size()));
  lines.insert(lines.end(), verdict.begin(), verdict.end());
}

void judgeByFlag(Lines& lines, long call, std::size_t number, std::uint32_t flag, const sock_filter& ifSet,
                 const sock_filter& ifNotSet) {
  judge(lines, call, {load(argument(number)), jump(BPF_JSET, flag, 0, 1), ifSet, ifNotSet});
}

// The argument that says how to open must be one of ours.
Lines isOneOf(std::span<const open_how> hows) {
  const auto address = [](const open_how& how) { return reinterpret_cast<std::uintptr_t>(&how); };
  Lines lines{load(upperHalf(2)), jump(BPF_JEQ, static_cast<std::uint32_t>(address(hows.front()) >> 32), 1, 0),
              refusal(EPERM), load(argument(2))};
  for (const open_how& how : hows) {
    lines.push_back(jump(BPF_JEQ, static_cast<std::uint32_t>(address(how)), 0, 1));
    lines.push_back(approval());
  }
  lines.push_back(refusal(EPERM));
  return lines;
}

void judgeOpening(Lines& lines) {
  judge(lines, SYS_openat2, isOneOf(openHows()));
  judgeByFlag(lines, SYS_openat, 2, O_TRUNC, refusal(EPERM), approval());
#if defined(__x86_64__)
  judgeByFlag(lines, SYS_open, 1, O_TRUNC, refusal(EPERM), approval());
#endif
}

// A file system has requests that change items through a descriptor that reads. Those of terminals have numbers of
// their own; two of them type into the terminal.
void judgeRequests(Lines& lines) {
  constexpr std::uint32_t kFamily = 0xFFFFFF00;
  constexpr std::uint32_t kTerminals = 0x5400;
  judge(
      lines, SYS_ioctl,
      {load(argument(1)), jump(BPF_JEQ, TIOCSTI, 0, 1), refusal(EPERM), jump(BPF_JEQ, TIOCLINUX, 0, 1), refusal(EPERM),
       statement(BPF_ALU | BPF_AND | BPF_K, kFamily), jump(BPF_JEQ, kTerminals, 0, 1), approval(), refusal(ENOTTY)});
}

// Refuses the numbers, which are sorted, and approves all others. Compares a call with few of them: when a filter is
// installed, the system runs it once for every call that there is.
void search(Lines& lines, std::span<const std::uint32_t> refused) {
  constexpr std::size_t kFew = 4;
  if (refused.size() <= kFew) {
    for (std::size_t i = 0; i < refused.size(); ++i) {
      lines.push_back(jump(BPF_JEQ, refused[i], refused.size() - i, 0));
    }
    lines.push_back(approval());
    lines.push_back(refusal(EPERM));
    return;
  }
  const std::size_t middle = refused.size() / 2;
  Lines lower;
  search(lower, refused.first(middle));
  lines.push_back(jump(BPF_JGE, refused[middle], lower.size(), 0));
  lines.insert(lines.end(), lower.begin(), lower.end());
  search(lines, refused.subspan(middle));
}

}  // namespace

// Threads are created by clone with CLONE_THREAD. A filter cannot see the flags of clone3, so clone3 fails with ENOSYS,
// and the C library uses clone instead. The calls that are judged come first: the system asks the filter about each of
// them, and knows its answer for all others.
std::vector<sock_filter> callFilter(const CallRules& rules) {
  if (kArchitecture == 0) return {};
  Lines lines{load(offsetof(seccomp_data, arch)), jump(BPF_JEQ, kArchitecture, 1, 0),     refusal(EPERM),
              load(offsetof(seccomp_data, nr)),   jump(BPF_JGE, kFirstForeignCall, 0, 1), refusal(EPERM)};
  if (rules.opening == OpeningCalls::cannotTruncate) judgeOpening(lines);
  judgeByFlag(lines, SYS_clone, 0, CLONE_THREAD, approval(), refusal(EPERM));
  judge(lines, SYS_clone3, {refusal(ENOSYS)});
  judgeRequests(lines);
  std::vector<std::uint32_t> refused(kRefusedCalls.begin(), kRefusedCalls.end());
  // A command that replaces a file gives the new file the mode of the old one with fchmod. The filter cannot see which
  // file a descriptor belongs to, so such a command may change the mode of every file that it has open.
  if (!rules.writesFiles) refused.push_back(SYS_fchmod);
  std::sort(refused.begin(), refused.end());
  search(lines, refused);
  return lines;
}

}  // namespace quarn
