// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/support/Program.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace wicket::support {
namespace {

using Clock = std::chrono::steady_clock;

struct Pipe {
  std::array<int, 2> ends{-1, -1};

  Pipe() { static_cast<void>(::pipe2(ends.data(), O_CLOEXEC) == 0); }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
  ~Pipe() {
    closeEnd(0);
    closeEnd(1);
  }
  void closeEnd(std::size_t end) {
    if (ends[end] >= 0) ::close(ends[end]);
    ends[end] = -1;
  }
};

pid_t spawn(const std::vector<std::string>& words, const Pipe& output, const Pipe& errors) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, output.ends[1], 1);
  posix_spawn_file_actions_adddup2(&actions, errors.ends[1], 2);
  // What whoever runs the tests has left open is none of the program's business.
  posix_spawn_file_actions_addclosefrom_np(&actions, 3);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t signals;
  sigfillset(&signals);
  posix_spawnattr_setsigdefault(&attributes, &signals);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);

  std::vector<std::string> copies = words;
  std::vector<char*> arguments;
  for (std::string& word : copies) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  pid_t pid = -1;
  const int error = ::posix_spawnp(&pid, arguments[0], &actions, &attributes, arguments.data(), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  return error == 0 ? pid : -1;
}

/// Appends what is there; false at the end of the stream.
bool readSome(int descriptor, std::string& text) {
  std::array<char, 65536> buffer{};
  const ssize_t count = ::read(descriptor, buffer.data(), buffer.size());
  if (count > 0) text.append(buffer.data(), static_cast<std::size_t>(count));
  return count > 0 || (count < 0 && errno == EINTR);
}

/// False when the deadline came before the end of both streams.
bool readAll(Pipe& output, Pipe& errors, Program& program, Clock::time_point deadline) {
  while (output.ends[0] >= 0 || errors.ends[0] >= 0) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    if (left <= 0) return false;
    std::array<pollfd, 2> polled{pollfd{output.ends[0], POLLIN, 0}, pollfd{errors.ends[0], POLLIN, 0}};
    if (::poll(polled.data(), polled.size(), static_cast<int>(left)) < 0 && errno != EINTR) return false;
    if (polled[0].revents != 0 && !readSome(output.ends[0], program.output)) output.closeEnd(0);
    if (polled[1].revents != 0 && !readSome(errors.ends[0], program.errors)) errors.closeEnd(0);
  }
  return true;
}

}  // namespace

Program Program::run(const std::vector<std::string>& words, std::chrono::milliseconds timeout) {
  Program program;
  Pipe output;
  Pipe errors;
  const pid_t pid = spawn(words, output, errors);
  if (pid < 0) return program;
  output.closeEnd(1);
  errors.closeEnd(1);
  const bool ended = readAll(output, errors, program, Clock::now() + timeout);
  if (!ended) ::kill(pid, SIGKILL);
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  if (ended) program.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return program;
}

}  // namespace wicket::support
