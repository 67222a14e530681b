// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/support/UserProcess.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace wicket::support {
namespace {

[[noreturn]] void becomeUserAndWait(uid_t uid, int ready) {
  if (::prctl(PR_SET_PDEATHSIG, SIGKILL) != 0 || ::setresgid(uid, uid, uid) != 0 || ::setresuid(uid, uid, uid) != 0) {
    ::_exit(EXIT_FAILURE);
  }
  // Giving up root has cleared the request to die with the parent.
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  ::close(ready);
  for (;;) ::pause();
}

}  // namespace

UserProcess::UserProcess(uid_t uid) : uid_(uid) {
  std::array<int, 2> ready{};
  if (::pipe2(ready.data(), O_CLOEXEC) != 0) std::abort();
  pid_ = ::fork();
  if (pid_ == 0) {
    ::close(ready[0]);
    becomeUserAndWait(uid, ready[1]);
  }
  if (pid_ < 0) std::abort();
  ::close(ready[1]);
  char none = 0;
  static_cast<void>(::read(ready[0], &none, 1));
  ::close(ready[0]);
}

void UserProcess::endUnnoticed() const {
  ::kill(pid_, SIGKILL);
  siginfo_t information{};
  ::waitid(P_PID, static_cast<id_t>(pid_), &information, WEXITED | WNOWAIT);
}

void UserProcess::end() {
  if (pid_ < 0) return;
  ::kill(pid_, SIGKILL);
  while (::waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
  }
  pid_ = -1;
}

}  // namespace wicket::support
