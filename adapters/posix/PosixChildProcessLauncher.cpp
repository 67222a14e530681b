// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/posix/PosixChildProcessLauncher.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <new>
#include <signal.h>
#include <system_error>
#include <thread>
#include <tuple>
#include <utility>

#include "adapters/posix/ChildDelivery.h"
#include "adapters/posix/ChildPipes.h"
#include "adapters/posix/ChildSpawn.h"
#include "adapters/posix/RunningChild.h"
#include "base/system/AllSignalsBlocked.h"
#include "base/system/ReadWrite.h"

namespace wicket {
namespace {

using posix::ChildDelivery;
using posix::ChildPipes;
using posix::RunningChild;
using system::AllSignalsBlocked;

void deliver(const std::shared_ptr<RunningChild>& child, std::unique_ptr<ChildDelivery> delivery) {
  if (child->waitUntilStarted()) delivery->run(*child);
}

// Holds the writing end of the child's standard input until the child is gone: one that reads it
// waits instead of seeing its end.
void waitForEnd(const std::shared_ptr<RunningChild>& child, const Descriptor&, const Descriptor& ended) {
  const auto pid = child->waitUntilStarted();
  if (!pid) return;
  child->reap(*pid);
  constexpr std::array notice{std::byte{0}};
  std::ignore = system::writeAll(ended.get(), notice);
}

/// The two threads of one child. They end by themselves at once if no child is started.
class ChildThreads {
 public:
  ChildThreads(const std::shared_ptr<RunningChild>& child, ChildProcessTask& task, ChildPipes& pipes) : child_(child) {
    const AllSignalsBlocked blocked;
    delivery_ = std::thread(deliver, child, std::make_unique<ChildDelivery>(task, pipes));
    try {
      end_ = std::thread(waitForEnd, child, std::move(pipes.input.writeEnd), std::move(pipes.ended.writeEnd));
    } catch (...) {
      giveUp();
      throw;
    }
  }
  ChildThreads(const ChildThreads&) = delete;
  ChildThreads& operator=(const ChildThreads&) = delete;
  ~ChildThreads() { giveUp(); }

  void letGo(pid_t pid) {
    child_->started(pid);
    delivery_.detach();
    end_.detach();
  }

 private:
  void giveUp() {
    if (!delivery_.joinable()) return;
    child_->notStarted();
    delivery_.join();
    if (end_.joinable()) end_.join();
  }

  std::shared_ptr<RunningChild> child_;
  std::thread delivery_;
  std::thread end_;
};

std::expected<std::shared_ptr<ChildProcess>, LaunchError> start(ChildProcessTask& task,
                                                                const posix::SpawnChild& spawnChild) {
  auto pipes = ChildPipes::make();
  if (!pipes) return std::unexpected(LaunchError{pipes.error()});
  auto child = std::make_shared<RunningChild>();
  ChildThreads threads(child, task, *pipes);
  const auto pid = spawnChild(task.launchPath, task.arguments, *pipes);
  if (!pid) return std::unexpected(pid.error());
  pipes->closeChildEnds();
  threads.letGo(*pid);
  return child;
}

}  // namespace

PosixChildProcessLauncher::PosixChildProcessLauncher(posix::SpawnChild spawnChild)
    : spawnChild_(std::move(spawnChild)) {
  // A process that ignores SIGCHLD, perhaps because whoever started it did, loses the exit statuses.
  struct sigaction action{};
  if (::sigaction(SIGCHLD, nullptr, &action) != 0 || action.sa_handler != SIG_IGN) return;
  action.sa_handler = SIG_DFL;
  ::sigaction(SIGCHLD, &action, nullptr);
}

std::expected<std::shared_ptr<ChildProcess>, LaunchError> PosixChildProcessLauncher::launch(ChildProcessTask task) {
  try {
    return start(task, spawnChild_);
  } catch (const std::system_error&) {
    return std::unexpected(LaunchError{EAGAIN});
  } catch (const std::bad_alloc&) {
    return std::unexpected(LaunchError{ENOMEM});
  }
}

}  // namespace wicket
