// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/PolkitTextAgent.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <systemd/sd-login.h>
#include <tuple>
#include <unistd.h>
#include <utility>
#include <vector>

#include "base/system/Descriptor.h"
#include "base/system/Uninterrupted.h"
#include "companion/AuthorizationRequest.h"

namespace wicket::companion {

namespace {

constexpr int readinessLimitMilliseconds = 10'000;

/// The agent closes its end when polkit knows it.
bool waitForClosing(const Descriptor& readEnd) {
  pollfd watched{readEnd.get(), POLLIN, 0};
  return system::uninterrupted([&] { return ::poll(&watched, 1, readinessLimitMilliseconds); }) > 0;
}

bool hasEnded(pid_t process) {
  siginfo_t information{};
  // Looks without reaping, so that the process number stays this child's.
  return ::waitid(P_PID, static_cast<id_t>(process), &information, WEXITED | WNOHANG | WNOWAIT) != 0 ||
         information.si_pid == process;
}

void endProcess(pid_t process) {
  ::kill(process, SIGTERM);
  ::kill(process, SIGCONT);
  std::ignore = system::uninterrupted([process] { return ::waitpid(process, nullptr, 0); });
}

/// Whether polkit places this process in a login session, found the way polkit finds it. Only there can another
/// agent wait, and only there does polkit 122 consider an agent that is a fallback.
bool isInSession() {
  char* session = nullptr;
  const bool found = sd_pid_get_session(0, &session) >= 0 || sd_uid_get_display(::getuid(), &session) >= 0;
  std::free(session);
  return found;
}

/// The agent starts with ordinary signals, whatever this process ignores to see errors instead. Only what
/// keeps a job alive without its terminal stays ignored.
class SpawnAttributes {
 public:
  SpawnAttributes() : error_(::posix_spawnattr_init(&attributes_)), isMade_(error_ == 0) {
    sigset_t defaults;
    sigset_t none;
    ::sigemptyset(&none);
    ::sigemptyset(&defaults);
    for (const int signal : {SIGPIPE, SIGXFSZ}) ::sigaddset(&defaults, signal);
    if (error_ == 0) error_ = ::posix_spawnattr_setsigdefault(&attributes_, &defaults);
    if (error_ == 0) error_ = ::posix_spawnattr_setsigmask(&attributes_, &none);
    if (error_ == 0) {
      error_ = ::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    }
  }
  SpawnAttributes(const SpawnAttributes&) = delete;
  SpawnAttributes& operator=(const SpawnAttributes&) = delete;
  ~SpawnAttributes() {
    if (isMade_) ::posix_spawnattr_destroy(&attributes_);
  }

  /// 0, or why they could not be made.
  [[nodiscard]] int error() const { return error_; }
  [[nodiscard]] const posix_spawnattr_t* get() const { return &attributes_; }

 private:
  posix_spawnattr_t attributes_{};
  int error_;
  bool isMade_;
};

std::expected<pid_t, int> spawn(const std::string& executable, const std::string& subject, const Descriptor& notify) {
  constexpr int notifyDescriptor = 3;
  std::vector<std::string> words{executable, "--process", subject, "--notify-fd", std::to_string(notifyDescriptor)};
  if (isInSession()) words.emplace_back("--fallback");
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions{};
  if (const int error = ::posix_spawn_file_actions_init(&actions); error != 0) return std::unexpected(error);
  pid_t agent = -1;
  const SpawnAttributes attributes;
  int error = attributes.error();
  if (error == 0) error = ::posix_spawn_file_actions_adddup2(&actions, notify.get(), notifyDescriptor);
  if (error == 0) {
    error = ::posix_spawn(&agent, executable.c_str(), &actions, attributes.get(), arguments.data(), environ);
  }
  ::posix_spawn_file_actions_destroy(&actions);
  if (error != 0) return std::unexpected(error);
  return agent;
}

}  // namespace

std::expected<PolkitTextAgent, PolkitTextAgent::Absence> PolkitTextAgent::start(const std::string& executable) {
  termios terminal{};
  if (::tcgetattr(STDIN_FILENO, &terminal) != 0) return std::unexpected(Absence::noTerminal);
  if (::access(executable.c_str(), X_OK) != 0) return std::unexpected(Absence::notInstalled);
  const auto self = AuthorizationRequest::forThisProcess();
  std::array<int, 2> ends{};
  if (!self || ::pipe2(ends.data(), O_CLOEXEC) != 0) return std::unexpected(Absence::failed);
  const Descriptor readEnd(ends[0]);
  Descriptor writeEnd(ends[1]);
  const std::string subject = std::to_string(self->token().pid) + "," + std::to_string(self->token().startTime);
  const auto process = spawn(executable, subject, writeEnd);
  if (!process) return std::unexpected(Absence::failed);
  PolkitTextAgent agent(*process, terminal);
  writeEnd.reset();
  if (!waitForClosing(readEnd) || hasEnded(*process)) return std::unexpected(Absence::failed);
  return agent;
}

PolkitTextAgent::PolkitTextAgent(PolkitTextAgent&& other) noexcept
    : agent_(std::exchange(other.agent_, -1)), terminal_(other.terminal_) {}

PolkitTextAgent::~PolkitTextAgent() {
  if (agent_ <= 0) return;
  endProcess(agent_);
  ::tcsetattr(STDIN_FILENO, TCSADRAIN, &terminal_);
}

}  // namespace wicket::companion
