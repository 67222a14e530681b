// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/LimitedSpawn.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <span>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <tuple>
#include <unistd.h>

#include "adapters/posix/ChildSpawn.h"
#include "base/system/AllSignalsBlocked.h"
#include "base/system/Pipe.h"
#include "base/system/ReadWrite.h"
#include "base/system/Uninterrupted.h"

namespace wicket::linux_adapter {
namespace {

/// All that the child needs. It is made before there is one: until it is the tool, a child shares this process's memory
/// and may call nothing but the kernel.
struct Preparation {
  const char* launchPath;
  char* const* arguments;
  std::array<int, 3> streams;
  const rlimit& descriptors;
  int report;
};

void resetSignals() {
  struct sigaction usual{};
  usual.sa_handler = SIG_DFL;
  for (int signal = 1; signal < NSIG; ++signal) {
    if (signal != SIGKILL && signal != SIGSTOP) ::sigaction(signal, &usual, nullptr);
  }
  sigset_t none;
  ::sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// The standard streams, and nothing else. The pipes have other numbers: this process never closes its own streams.
bool placeStreams(const std::array<int, 3>& streams) {
  for (int number = 0; number < 3; ++number) {
    if (::dup2(streams[static_cast<std::size_t>(number)], number) < 0) return false;
  }
  // What remains, the report included, closes itself when the tool begins. Whatever this process opens does so anyway,
  // which has to do on a kernel that is too old for the call.
  const bool isDone = ::syscall(SYS_close_range, STDERR_FILENO + 1U, ~0U, CLOSE_RANGE_CLOEXEC) == 0;
  return isDone || errno == ENOSYS || errno == EINVAL;
}

[[noreturn]] void becomeTool(const Preparation& preparation) {
  const bool isReady = ::setpgid(0, 0) == 0 && placeStreams(preparation.streams) &&
                       ::setrlimit(RLIMIT_NOFILE, &preparation.descriptors) == 0;
  if (isReady) {
    resetSignals();
    ::execve(preparation.launchPath, preparation.arguments, environ);
  }
  const std::array error{errno};
  std::ignore = system::writeAll(preparation.report, std::as_bytes(std::span(error)));
  ::_exit(127);
}

/// The number of the error with which the child could not become the tool; 0 when it did.
int reportFrom(const Descriptor& end) {
  std::array error{0};
  const auto count = system::readSome(end.get(), std::as_writable_bytes(std::span(error)));
  return count == sizeof error ? error[0] : 0;
}

pid_t startChild(const Preparation& preparation) {
  const system::AllSignalsBlocked blocked;
  const pid_t pid = ::vfork();
  if (pid == 0) becomeTool(preparation);
  return pid;
}

}  // namespace

std::expected<pid_t, LaunchError> LimitedSpawn::operator()(const std::string& launchPath,
                                                           const std::vector<std::string>& arguments,
                                                           const posix::ChildPipes& pipes) const {
  auto report = system::Pipe::make();
  if (!report) return std::unexpected(LaunchError{report.error()});
  const posix::ArgumentVector vector(launchPath, arguments);
  const pid_t pid = startChild({launchPath.c_str(),
                                vector.get(),
                                {pipes.input.readEnd.get(), pipes.output.writeEnd.get(), pipes.error.writeEnd.get()},
                                descriptors,
                                report->writeEnd.get()});
  if (pid < 0) return std::unexpected(LaunchError{errno});
  report->writeEnd.reset();
  const int error = reportFrom(report->readEnd);
  if (error == 0) return pid;
  std::ignore = system::uninterrupted([pid] { return ::waitpid(pid, nullptr, 0); });
  return std::unexpected(LaunchError{error});
}

}  // namespace wicket::linux_adapter
