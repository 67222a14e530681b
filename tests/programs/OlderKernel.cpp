// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
//
// older-kernel PROGRAM [ARGUMENT...]: becomes the program, to which the kernel looks like one before 6.5: it does
// not know SO_PEERPIDFD, and pidfds are no files of their own. A second process answers what concerns the latter,
// as a filter cannot tell one descriptor from another; it ends with the program.
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <linux/close_range.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// The C library of Debian 12 is older than the option.
constexpr int peerPidfdOption = 77;

[[noreturn]] void fail(const char* what) {
  std::perror(what);
  std::exit(EXIT_FAILURE);
}

constexpr sock_filter load(std::size_t offset) {
  return BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<__u32>(offset));
}
constexpr sock_filter skipUnlessEqual(std::size_t value, unsigned char skipped) {
  return BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<__u32>(value), 0, skipped);
}
constexpr sock_filter end(unsigned action) { return BPF_STMT(BPF_RET | BPF_K, action); }

// The kernels in question are little-endian: the lower half of an argument comes first.
constexpr std::size_t argument(std::size_t number) { return offsetof(seccomp_data, args) + 8 * number; }

/// Returns the descriptor on which the calls of fstatfs arrive that are to be answered.
int forgetNewerCalls() {
  std::array filter{
      load(offsetof(seccomp_data, nr)),
      skipUnlessEqual(SYS_fstatfs, 1),
      end(SECCOMP_RET_USER_NOTIF),
      skipUnlessEqual(SYS_getsockopt, 5),
      load(argument(1)),
      skipUnlessEqual(SOL_SOCKET, 3),
      load(argument(2)),
      skipUnlessEqual(peerPidfdOption, 1),
      end(SECCOMP_RET_ERRNO | ENOPROTOOPT),
      end(SECCOMP_RET_ALLOW),
  };
  const sock_fprog program{filter.size(), filter.data()};
  const long listener = ::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_NEW_LISTENER, &program);
  if (listener < 0) fail("older-kernel: the filter");
  return static_cast<int>(listener);
}

bool isPidfd(const seccomp_notif& call) {
  const std::string path = "/proc/" + std::to_string(call.pid) + "/fd/" + std::to_string(call.data.args[0]);
  std::array<char, 64> target{};
  const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
  return length > 0 && std::string(target.data(), static_cast<std::size_t>(length)).find("pidfd") != std::string::npos;
}

/// Until the last one is gone who makes such calls.
[[noreturn]] void answerCalls(int listener) {
  for (;;) {
    pollfd polled{listener, POLLIN, 0};
    if (::poll(&polled, 1, -1) < 0 && errno != EINTR) fail("older-kernel: poll");
    if ((polled.revents & POLLHUP) != 0) std::exit(EXIT_SUCCESS);
    seccomp_notif call{};
    if (::ioctl(listener, SECCOMP_IOCTL_NOTIF_RECV, &call) != 0) continue;  // the caller has gone meanwhile
    seccomp_notif_resp answer{};
    answer.id = call.id;
    if (isPidfd(call)) {
      answer.error = -ENOSYS;
    } else {
      answer.flags = SECCOMP_USER_NOTIF_FLAG_CONTINUE;
    }
    static_cast<void>(::ioctl(listener, SECCOMP_IOCTL_NOTIF_SEND, &answer));
  }
}

int descriptorOf(pid_t process, int descriptor) {
  const long pidfd = ::syscall(SYS_pidfd_open, process, 0);
  const long copy = pidfd < 0 ? -1 : ::syscall(SYS_pidfd_getfd, pidfd, descriptor, 0);
  if (copy < 0) fail("older-kernel: the filter's descriptor");
  return static_cast<int>(copy);
}

/// Nobody's child, so that the program does not meet one that it did not start. Learns the number of the
/// descriptor from @p told, and closes that when it has it.
void startAnswering(int told) {
  const pid_t program = ::getpid();
  const pid_t between = ::fork();
  if (between < 0) fail("older-kernel: fork");
  if (between > 0) {
    ::waitpid(between, nullptr, 0);
    return;
  }
  if (::fork() != 0) ::_exit(EXIT_SUCCESS);
  int number = -1;
  if (::read(told, &number, sizeof number) != sizeof number) ::_exit(EXIT_FAILURE);
  const int listener = ::dup2(descriptorOf(program, number), STDIN_FILENO);
  ::close_range(STDERR_FILENO + 1, ~0U, 0);
  answerCalls(listener);
}

void becomeOlder() {
  std::array<int, 2> ends{};
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) fail("older-kernel: socketpair");
  startAnswering(ends[1]);
  ::close(ends[1]);
  const int listener = forgetNewerCalls();
  char nothing = 0;
  if (::write(ends[0], &listener, sizeof listener) != sizeof listener || ::read(ends[0], &nothing, 1) != 0) {
    fail("older-kernel: nobody answers");
  }
  ::close(ends[0]);
  ::close(listener);
}

/// A filter that does not hold would make every test with it say nothing.
void requireThatTheyAreForgotten() {
  std::array<int, 2> sockets{};
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets.data()) != 0) fail("older-kernel: socketpair");
  int pidfd = -1;
  socklen_t length = sizeof pidfd;
  const bool knowsOption = ::getsockopt(sockets[0], SOL_SOCKET, peerPidfdOption, &pidfd, &length) == 0;
  if (knowsOption || errno != ENOPROTOOPT) fail("older-kernel: SO_PEERPIDFD is still known");
  struct statfs fileSystem{};
  if (::fstatfs(sockets[0], &fileSystem) != 0) fail("older-kernel: fstatfs of a socket");
  pidfd = static_cast<int>(::syscall(SYS_pidfd_open, ::getpid(), 0));
  if (::fstatfs(pidfd, &fileSystem) == 0) fail("older-kernel: pidfds are still files");
  ::close(pidfd);
  ::close(sockets[0]);
  ::close(sockets[1]);
}

}  // namespace

int main(int count, char** words) {
  if (count < 2) {
    static_cast<void>(std::fputs("Usage: older-kernel PROGRAM [ARGUMENT...]\n", stderr));
    return 2;
  }
  becomeOlder();
  requireThatTheyAreForgotten();
  ::execv(words[1], words + 1);
  fail(words[1]);
}
