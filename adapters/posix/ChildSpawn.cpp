// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/posix/ChildSpawn.h"

#include <signal.h>
#include <spawn.h>
#include <unistd.h>
#include <utility>

#include "adapters/posix/SystemCalls.h"

extern char** environ;

namespace wicket::posix {
namespace {

/// The settings of one posix_spawn; the first error of its making is kept.
class SpawnSettings {
 public:
  explicit SpawnSettings(const ChildPipes& pipes) {
    error_ = ::posix_spawn_file_actions_init(&actions_);
    if (error_ != 0) return;
    error_ = ::posix_spawnattr_init(&attributes_);
    if (error_ != 0) {
      ::posix_spawn_file_actions_destroy(&actions_);
      return;
    }
    initialised_ = true;
    setUpProcess();
    place(pipes.input.readEnd, STDIN_FILENO);
    place(pipes.output.writeEnd, STDOUT_FILENO);
    place(pipes.error.writeEnd, STDERR_FILENO);
    keep(closeOtherDescriptors(actions_, attributes_));
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;
  ~SpawnSettings() {
    if (!initialised_) return;
    ::posix_spawnattr_destroy(&attributes_);
    ::posix_spawn_file_actions_destroy(&actions_);
  }

  [[nodiscard]] int error() const { return error_; }
  [[nodiscard]] const posix_spawn_file_actions_t& actions() const { return actions_; }
  [[nodiscard]] const posix_spawnattr_t& attributes() const { return attributes_; }

 private:
  // A group of its own, so that a signal to this process's group, as service managers send when
  // they stop it, does not reach the child; and signals as a fresh process has them, whatever this
  // process blocks or ignores.
  void setUpProcess() {
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);  // macros on some systems
    sigfillset(&all);
    // Nothing can change what these do, and not every system accepts being asked to.
    sigdelset(&all, SIGKILL);
    sigdelset(&all, SIGSTOP);
    keep(::posix_spawnattr_setpgroup(&attributes_, 0));
    keep(::posix_spawnattr_setsigmask(&attributes_, &none));
    keep(::posix_spawnattr_setsigdefault(&attributes_, &all));
    keep(::posix_spawnattr_setflags(
        &attributes_, static_cast<short>(POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF)));
  }

  void place(const Descriptor& end, int number) {
    keep(::posix_spawn_file_actions_adddup2(&actions_, end.get(), number));
  }

  void keep(int error) {
    if (error_ == 0) error_ = error;
  }

  posix_spawn_file_actions_t actions_{};
  posix_spawnattr_t attributes_{};
  bool initialised_ = false;
  int error_ = 0;
};

}  // namespace

ArgumentVector::ArgumentVector(const std::string& launchPath, const std::vector<std::string>& arguments) {
  strings_.reserve(arguments.size() + 1);
  strings_.push_back(launchPath);
  strings_.insert(strings_.end(), arguments.begin(), arguments.end());
  for (std::string& string : strings_) pointers_.push_back(string.data());
  pointers_.push_back(nullptr);
}

std::expected<pid_t, LaunchError> spawnChild(const std::string& launchPath, const std::vector<std::string>& arguments,
                                             const ChildPipes& pipes) {
  const SpawnSettings settings(pipes);
  if (settings.error() != 0) return std::unexpected(LaunchError{settings.error()});
  const ArgumentVector vector(launchPath, arguments);
  pid_t pid = 0;
  const int error =
      ::posix_spawn(&pid, launchPath.c_str(), &settings.actions(), &settings.attributes(), vector.get(), environ);
  if (error != 0) return std::unexpected(LaunchError{error});
  return pid;
}

}  // namespace wicket::posix
