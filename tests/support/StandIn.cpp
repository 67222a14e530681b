// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/support/StandIn.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace wicket::support {
namespace {

using Clock = std::chrono::steady_clock;

std::array<int, 2> newPipe() {
  std::array<int, 2> ends{-1, -1};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  return ends;
}

pid_t spawn(const std::string& program, const std::vector<std::string>& steps, int input, int output) {
  std::vector<std::string> texts{program};
  texts.insert(texts.end(), steps.begin(), steps.end());
  std::vector<char*> arguments;
  for (std::string& text : texts) arguments.push_back(text.data());
  arguments.push_back(nullptr);
  std::array<char*, 1> environment{nullptr};

  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
  ::posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  posix_spawnattr_t attributes;
  ::posix_spawnattr_init(&attributes);
  // A group of its own, so that its children can be found when it has gone.
  ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
  ::posix_spawnattr_setpgroup(&attributes, 0);
  pid_t pid = -1;
  const int error = ::posix_spawn(&pid, program.c_str(), &actions, &attributes, arguments.data(), environment.data());
  ::posix_spawnattr_destroy(&attributes);
  ::posix_spawn_file_actions_destroy(&actions);
  if (error != 0) throw std::runtime_error("cannot start " + program);
  return pid;
}

}  // namespace

StandIn::StandIn(const std::string& program, const std::vector<std::string>& steps) {
  const auto input = newPipe();
  const auto output = newPipe();
  pid_ = spawn(program, steps, input[0], output[1]);
  ::close(input[0]);
  ::close(output[1]);
  input_ = input[1];
  output_ = output[0];
}

StandIn::~StandIn() {
  end();
  ::close(input_);
  ::close(output_);
}

bool StandIn::awaitSaid(std::string_view line, std::chrono::milliseconds timeout) {
  const std::string wanted = std::string(line) + "\n";
  const auto deadline = Clock::now() + timeout;
  while (said_.find(wanted) == std::string::npos) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    pollfd polled{output_, POLLIN, 0};
    if (left <= 0 || ::poll(&polled, 1, static_cast<int>(left)) <= 0) return false;
    std::array<char, 256> buffer{};
    const ssize_t count = ::read(output_, buffer.data(), buffer.size());
    if (count <= 0) return false;
    said_.append(buffer.data(), static_cast<std::size_t>(count));
  }
  return true;
}

void StandIn::proceed() const { static_cast<void>(::write(input_, "\n", 1) == 1); }

void StandIn::end() {
  if (pid_ < 0) return;
  // Its number is its own until it has been waited for, and so is its group's.
  ::kill(-pid_, SIGKILL);
  while (::waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
  }
  pid_ = -1;
}

}  // namespace wicket::support
