// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/support/Machine.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <map>
#include <sched.h>
#include <string_view>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/TemporaryFolder.h"

namespace wicket::support {
namespace {

/// 0, or the error with which it was refused. In a process that does nothing else.
using Attempt = std::function<int()>;

int errorUnless(bool done) { return done ? 0 : errno; }

int mountPrivately(const std::string& folder) {
  if (::unshare(CLONE_NEWNS) != 0) return errno;
  if (::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return errno;
  return errorUnless(::mount("tmpfs", folder.c_str(), "tmpfs", 0, nullptr) == 0);
}

/// Some machines let root alone make one, which is not enough for those who attack.
int makeUserNamespace() {
  constexpr uid_t ordinary = 65534;
  if (::geteuid() == 0 && ::setresuid(ordinary, ordinary, ordinary) != 0) return errno;
  return errorUnless(::unshare(CLONE_NEWUSER) == 0);
}

int installListener() {
  std::array<sock_filter, 1> allow{sock_filter{BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ALLOW}};
  const sock_fprog program{static_cast<unsigned short>(allow.size()), allow.data()};
  return errorUnless(::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_NEW_LISTENER, &program) >= 0);
}

/// The system call itself: the thread sanitizer gives a child of the C library's fork() a second thread, and such a
/// process may not do everything.
pid_t startChild() { return static_cast<pid_t>(::syscall(SYS_clone, SIGCHLD, nullptr, nullptr, nullptr, 0)); }

/// The attempt's result on a process that does nothing.
int onIdleProcess(const std::function<int(pid_t)>& attempt) {
  const pid_t idle = startChild();
  if (idle == 0) {
    for (;;) ::pause();
  }
  const int error = attempt(idle);
  ::kill(idle, SIGKILL);
  ::waitpid(idle, nullptr, 0);
  return error;
}

int traceProcess() {
  return onIdleProcess(
      [](pid_t process) { return errorUnless(::ptrace(PTRACE_SEIZE, process, nullptr, nullptr) == 0); });
}

int takeDescriptor() {
  return onIdleProcess([](pid_t process) {
    const long handle = ::syscall(SYS_pidfd_open, process, 0);
    // It has those that this process has.
    return errorUnless(handle >= 0 && ::syscall(SYS_pidfd_getfd, handle, STDERR_FILENO, 0) >= 0);
  });
}

/// The attempt's result: it changes the process that makes it, so that is a child.
int resultOf(const Attempt& attempt) {
  const pid_t child = startChild();
  if (child == 0) ::_exit(attempt());
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return child > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : EAGAIN;
}

std::optional<std::string> refusal(std::string_view what, const Attempt& attempt) {
  const int error = resultOf(attempt);
  if (error == 0) return std::nullopt;
  return "this machine does not allow " + std::string(what) + " (" + std::strerror(error) + ")";
}

std::optional<std::string> attempt(Need need) {
  const TemporaryFolder folder;
  switch (need) {
    case Need::root:
      return refusal("to be root", [] { return ::geteuid() == 0 ? 0 : EPERM; });
    case Need::mountNamespace:
      return refusal("a mount namespace", [&] { return mountPrivately(folder.path()); });
    case Need::userNamespace:
      return refusal("a user namespace", makeUserNamespace);
    case Need::privilegesOfFiles:
      return refusal("set-group bits", [] { return ::prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0) == 0 ? 0 : EPERM; });
    case Need::seccompListener:
      return refusal("a listener of system calls", installListener);
    case Need::tracing:
      return refusal("to trace a process", traceProcess);
    case Need::takenDescriptor:
      return refusal("a descriptor of another process", takeDescriptor);
  }
  std::abort();
}

}  // namespace

const std::optional<std::string>& refusalOf(Need need) {
  static std::map<Need, std::optional<std::string>> known;
  const auto found = known.find(need);
  return found != known.end() ? found->second : known.emplace(need, attempt(need)).first->second;
}

bool mustNotSkip() {
  const char* const value = std::getenv("CI");
  return value != nullptr && std::string_view(value) == "true";
}

}  // namespace wicket::support
