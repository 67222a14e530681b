// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/support/SocketActivator.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <linux/close_range.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace wicket::support {
namespace {

constexpr int firstPassedDescriptor = 3;
/// A program that always ends without taking its connection is not started for ever.
constexpr std::size_t startLimit = 50;

int listeningSocket(const std::string& path) {
  const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  ::unlink(path.c_str());
  const auto* generic = static_cast<const sockaddr*>(static_cast<const void*>(&address));
  const int yes = 1;  // as the socket unit says
  if (::setsockopt(descriptor, SOL_SOCKET, SO_PASSCRED, &yes, sizeof yes) != 0 ||
      ::bind(descriptor, generic, sizeof address) != 0 || ::chmod(path.c_str(), 0660) != 0 ||
      ::listen(descriptor, SOMAXCONN) != 0) {
    std::perror(path.c_str());
    std::abort();
  }
  return descriptor;
}

/// What stands behind "LISTEN_PID=" is only known in the new process, where nothing may be allocated.
struct Environment {
  std::array<char, 32> listenPid{"LISTEN_PID="};
  std::vector<std::string> texts;
  std::vector<char*> pointers;

  Environment()
      : texts{std::string("PATH=") + SocketActivator::firstProgramFolder + ":/usr/bin:/bin:/usr/sbin:/sbin",
              "LISTEN_FDS=1"} {
    for (const char* name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS", "LSAN_OPTIONS"}) {
      if (const char* value = std::getenv(name)) texts.push_back(std::string(name) + "=" + value);
    }
    // The freed memory that AddressSanitizer keeps would otherwise drown what the program uses itself.
    if (std::getenv("ASAN_OPTIONS") == nullptr) texts.emplace_back("ASAN_OPTIONS=quarantine_size_mb=16");
    for (std::string& text : texts) pointers.push_back(text.data());
    pointers.push_back(listenPid.data());
    pointers.push_back(nullptr);
  }

  void setListenPid(pid_t pid) {
    char* const begin = listenPid.data() + std::strlen("LISTEN_PID=");
    *std::to_chars(begin, listenPid.data() + listenPid.size() - 1, pid).ptr = '\0';
  }
};

/// In the new process: a clean slate, the socket as descriptor 3 and nothing above it.
[[noreturn]] void become(const char* executable, Environment& environment, int socket, int errors) {
  sigset_t none;
  sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
  ::signal(SIGPIPE, SIG_DFL);
  ::umask(0022);
  static_cast<void>(::chdir("/") == 0);
  // Both lie above 3: whoever calls has opened other things first.
  const int input = ::open("/dev/null", O_RDONLY);
  ::dup2(input, 0);
  ::dup2(errors, 1);
  ::dup2(errors, 2);
  // The listening socket may be non-blocking, as systemd's is.
  if (socket == firstPassedDescriptor) {
    ::fcntl(socket, F_SETFD, 0);
  } else {
    ::dup2(socket, firstPassedDescriptor);
  }
  ::close_range(firstPassedDescriptor + 1, ~0U, 0);
  environment.setListenPid(::getpid());
  std::array<char*, 2> arguments{const_cast<char*>(executable), nullptr};
  ::execve(executable, arguments.data(), environment.pointers.data());
  ::_exit(127);
}

}  // namespace

SocketActivator::SocketActivator(std::string executable, std::string socketPath, std::string errorFile)
    : executable_(std::move(executable)),
      errorFile_(std::move(errorFile)),
      listeningSocket_(listeningSocket(socketPath)),
      stopEvent_(::eventfd(0, EFD_CLOEXEC)),
      thread_([this] { serve(); }) {}

SocketActivator::~SocketActivator() {
  ::eventfd_write(stopEvent_, 1);
  thread_.join();
  ::close(listeningSocket_);
  ::close(stopEvent_);
}

std::vector<SocketActivator::Life> SocketActivator::lives() const {
  const std::lock_guard lock(mutex_);
  return lives_;
}

pid_t SocketActivator::currentPid() const {
  const std::lock_guard lock(mutex_);
  return lives_.empty() || lives_.back().ended ? 0 : lives_.back().pid;
}

bool SocketActivator::waitForEnds(std::size_t count, std::chrono::milliseconds timeout) {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, timeout, [&] {
    return std::ranges::count_if(lives_, [](const Life& life) { return life.ended.has_value(); }) >=
           static_cast<std::ptrdiff_t>(count);
  });
}

void SocketActivator::serve() {
  while (lives().size() < startLimit && waitForConnection()) {
    if (const auto pid = start()) awaitEnd(*pid);
  }
}

bool SocketActivator::waitForConnection() const {
  std::array<pollfd, 2> polled{pollfd{stopEvent_, POLLIN, 0}, pollfd{listeningSocket_, POLLIN, 0}};
  while (::poll(polled.data(), polled.size(), -1) < 0 && errno == EINTR) {
  }
  return polled[0].revents == 0;
}

bool SocketActivator::waitForEnd(int pidDescriptor) const {
  std::array<pollfd, 2> polled{pollfd{stopEvent_, POLLIN, 0}, pollfd{pidDescriptor, POLLIN, 0}};
  while (::poll(polled.data(), polled.size(), -1) < 0 && errno == EINTR) {
  }
  return polled[0].revents == 0;
}

pid_t SocketActivator::spawn() const {
  Environment environment;
  const int errors = ::open(errorFile_.c_str(), O_CREAT | O_APPEND | O_WRONLY | O_CLOEXEC, 0600);
  const pid_t pid = ::fork();
  if (pid == 0) become(executable_.c_str(), environment, listeningSocket_, errors);
  ::close(errors);
  return pid;
}

std::optional<pid_t> SocketActivator::start() {
  // Whoever hears from the program finds it here.
  const std::lock_guard lock(mutex_);
  const auto started = Clock::now();
  const pid_t pid = spawn();
  if (pid < 0) return std::nullopt;
  lives_.push_back({pid, started, std::nullopt, 0});
  return pid;
}

void SocketActivator::awaitEnd(pid_t pid) {
  const int pidDescriptor = static_cast<int>(::syscall(SYS_pidfd_open, pid, 0));
  if (!waitForEnd(pidDescriptor)) ::kill(pid, SIGKILL);
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  ::close(pidDescriptor);
  {
    const std::lock_guard lock(mutex_);
    lives_.back().ended = Clock::now();
    lives_.back().waitStatus = status;
  }
  changed_.notify_all();
}

}  // namespace wicket::support
