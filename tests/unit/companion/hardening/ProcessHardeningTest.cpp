// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <string_view>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include "companion/hardening/ProcessHardening.h"

namespace wicket::companion {
namespace {

/// Whether @p check says true in a process of its own, which @p caller has prepared before it was hardened.
bool holdsInAProcess(const std::function<void()>& caller, const std::function<bool()>& check) {
  const pid_t child = ::fork();
  if (child == 0) {
    caller();
    ::_exit(ProcessHardening::apply() ? 2 : (check() ? 0 : 1));
  }
  int status = -1;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

void handle(int signal, void (*handler)(int)) {
  struct sigaction action{};
  action.sa_handler = handler;
  ::sigaction(signal, &action, nullptr);
}

auto handlerOf(int signal) {
  struct sigaction now{};
  ::sigaction(signal, nullptr, &now);
  return now.sa_handler;
}

TEST(ProcessHardeningTest, WhatIsMadeBelongsToTheUserAlone) {
  EXPECT_TRUE(holdsInAProcess([] { ::umask(0); }, [] { return ::umask(0) == (S_IRWXG | S_IRWXO); }));
}

TEST(ProcessHardeningTest, NobodyMayTraceTheProcessOrGetItsCore) {
  EXPECT_TRUE(holdsInAProcess([] { ::prctl(PR_SET_DUMPABLE, 1, 0, 0, 0); },
                              [] {
                                rlimit core{1, 1};
                                ::getrlimit(RLIMIT_CORE, &core);
                                return ::prctl(PR_GET_DUMPABLE, 0, 0, 0, 0) == 0 && core.rlim_max == 0;
                              }));
}

TEST(ProcessHardeningTest, DescriptorsOfTheCallerAreClosed) {
  EXPECT_TRUE(holdsInAProcess([] { ::dup2(STDERR_FILENO, 200); },
                              [] { return ::fcntl(200, F_GETFD) < 0 && ::fcntl(STDERR_FILENO, F_GETFD) >= 0; }));
}

TEST(ProcessHardeningTest, AMissingStandardStreamStaysUnusableAndItsNumberTaken) {
  EXPECT_TRUE(holdsInAProcess(
      [] {
        ::close(STDIN_FILENO);
        ::close(STDOUT_FILENO);
      },
      [] {
        char byte = 0;
        return ::read(STDIN_FILENO, &byte, 1) < 0 && ::write(STDOUT_FILENO, &byte, 1) < 0 &&
               ::open("/dev/null", O_RDONLY | O_CLOEXEC) > STDERR_FILENO;
      }));
}

TEST(ProcessHardeningTest, IgnoredSignalsAreHeardAgainButForThoseThatAskToBeLeftAlone) {
  EXPECT_TRUE(holdsInAProcess(
      [] {
        for (const int signal : {SIGTERM, SIGCHLD, SIGPIPE, SIGHUP, SIGINT, SIGQUIT}) handle(signal, SIG_IGN);
      },
      [] {
        return handlerOf(SIGTERM) == SIG_DFL && handlerOf(SIGCHLD) == SIG_DFL && handlerOf(SIGPIPE) == SIG_DFL &&
               handlerOf(SIGHUP) == SIG_IGN && handlerOf(SIGINT) == SIG_IGN && handlerOf(SIGQUIT) == SIG_IGN;
      }));
}

TEST(ProcessHardeningTest, AFileThatGrewTooLongIsAnErrorAndNotTheEnd) {
  EXPECT_TRUE(holdsInAProcess([] { handle(SIGXFSZ, SIG_DFL); }, [] { return handlerOf(SIGXFSZ) == SIG_IGN; }));
}

TEST(ProcessHardeningTest, NoSignalStaysBlockedAndNoTimerRuns) {
  EXPECT_TRUE(holdsInAProcess(
      [] {
        sigset_t all;
        ::sigfillset(&all);
        ::sigprocmask(SIG_SETMASK, &all, nullptr);
        const itimerval hours{{0, 0}, {7200, 0}};
        for (const auto timer : {ITIMER_REAL, ITIMER_VIRTUAL, ITIMER_PROF}) ::setitimer(timer, &hours, nullptr);
      },
      [] {
        sigset_t blocked;
        ::sigprocmask(SIG_SETMASK, nullptr, &blocked);
        bool isQuiet = ::sigisemptyset(&blocked) == 1;
        for (const auto timer : {ITIMER_REAL, ITIMER_VIRTUAL, ITIMER_PROF}) {
          itimerval now{};
          ::getitimer(timer, &now);
          isQuiet = isQuiet && now.it_value.tv_sec == 0 && now.it_value.tv_usec == 0;
        }
        return isQuiet;
      }));
}

TEST(ProcessHardeningTest, TheEnvironmentOfTheCallerIsReplaced) {
  EXPECT_TRUE(holdsInAProcess(
      [] {
        ::setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/elsewhere", 1);
        ::setenv("PATH", "/elsewhere", 1);
      },
      [] {
        return ::getenv("DBUS_SYSTEM_BUS_ADDRESS") == nullptr &&
               std::string_view(::getenv("PATH")) == "/usr/sbin:/usr/bin:/sbin:/bin";
      }));
}

}  // namespace
}  // namespace wicket::companion
