// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/support/PolkitSandbox.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <spawn.h>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace wicket::support {
namespace {

/// Spawns the script with both ends of its input and output in our hands: -1 when that failed.
pid_t spawnScript(const std::string& policyFile, int input, int output) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input, 0);
  posix_spawn_file_actions_adddup2(&actions, output, 1);
  std::string script = WICKET_SANDBOX_SCRIPT;
  std::string policy = policyFile;
  const std::array<char*, 3> arguments{script.data(), policy.data(), nullptr};
  pid_t pid = -1;
  const int error = ::posix_spawn(&pid, script.c_str(), &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  return error == 0 ? pid : -1;
}

bool saysReady(int output) {
  std::string said;
  std::array<char, 64> buffer{};
  while (said.find('\n') == std::string::npos) {
    const ssize_t count = ::read(output, buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    said.append(buffer.data(), static_cast<std::size_t>(count));
  }
  return said == "ready\n";
}

}  // namespace

std::unique_ptr<PolkitSandbox> PolkitSandbox::start(const std::string& policyFile) {
  std::array<int, 2> input{};
  std::array<int, 2> output{};
  if (::pipe2(input.data(), O_CLOEXEC) != 0) return nullptr;
  if (::pipe2(output.data(), O_CLOEXEC) != 0) {
    ::close(input[0]);
    ::close(input[1]);
    return nullptr;
  }
  const pid_t pid = spawnScript(policyFile, input[0], output[1]);
  ::close(input[0]);
  ::close(output[1]);
  std::unique_ptr<PolkitSandbox> sandbox(new PolkitSandbox(pid, input[1]));
  const bool isReady = pid >= 0 && saysReady(output[0]);
  ::close(output[0]);
  return isReady ? std::move(sandbox) : nullptr;
}

PolkitSandbox::~PolkitSandbox() {
  ::close(input_);
  if (pid_ < 0) return;
  int status = 0;
  while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
  }
}

void PolkitSandbox::setAnswer(const std::string& answer) {
  const std::filesystem::path file = "/run/wicket-sandbox/answer";
  const std::filesystem::path next = "/run/wicket-sandbox/answer.new";
  std::ofstream(next) << answer << '\n';
  std::filesystem::permissions(next, std::filesystem::perms(0644));
  std::filesystem::rename(next, file);
}

}  // namespace wicket::support
