// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/hardening/ProcessHardening.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include "companion/hardening/ResourceLimits.h"
#include "companion/hardening/SafeEnvironment.h"

namespace wicket::companion {

namespace {

constexpr std::array mayStayIgnored{SIGHUP, SIGINT, SIGQUIT};

/// Open for the wrong direction, as the C library does it for a set-group program: what is written there
/// fails and is reported instead of vanishing.
bool isOpen(int descriptor, int unusableMode) {
  if (::fcntl(descriptor, F_GETFD) >= 0) return true;
  return ::open("/dev/null", unusableMode | O_NOCTTY) == descriptor;
}

bool resetDescriptors() {
  if (::close_range(STDERR_FILENO + 1, ~0U, 0) != 0) return false;
  return isOpen(STDIN_FILENO, O_WRONLY) && isOpen(STDOUT_FILENO, O_RDONLY) && isOpen(STDERR_FILENO, O_RDONLY);
}

void resetDisposition(int signal) {
  struct sigaction before{};
  // The C library keeps some signals to itself, and two cannot be changed: it says so, and that is all right.
  if (::sigaction(signal, nullptr, &before) != 0) return;
  if (before.sa_handler == SIG_IGN && std::ranges::find(mayStayIgnored, signal) != mayStayIgnored.end()) return;
  struct sigaction action{};
  action.sa_handler = signal == SIGXFSZ ? SIG_IGN : SIG_DFL;
  ::sigaction(signal, &action, nullptr);
}

bool resetSignals() {
  const itimerval none{};
  for (const auto timer : {ITIMER_REAL, ITIMER_VIRTUAL, ITIMER_PROF}) {
    if (::setitimer(timer, &none, nullptr) != 0) return false;
  }
  for (int signal = 1; signal <= SIGRTMAX; ++signal) resetDisposition(signal);
  sigset_t empty;
  ::sigemptyset(&empty);
  return ::sigprocmask(SIG_SETMASK, &empty, nullptr) == 0;
}

}  // namespace

std::optional<Problem> ProcessHardening::apply() {
  ::umask(S_IRWXG | S_IRWXO);
  if (::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) != 0) return Problem{"The process cannot be protected", "Try again"};
  if (!ResourceLimits::enter()) return Problem{"The limits of this process cannot be set", "See: ulimit -a"};
  if (!resetDescriptors()) {
    return Problem{"The standard streams cannot be made sure of", "Raise the limit of open files, and check /dev/null"};
  }
  if (!resetSignals()) return Problem{"The signals of this process cannot be reset", "Try again"};
  if (!SafeEnvironment::enter()) return Problem{"There is no memory for the environment", "Close other programs"};
  return std::nullopt;
}

}  // namespace wicket::companion
