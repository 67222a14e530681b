// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/command/Interruption.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <fcntl.h>

namespace wicket::companion::command {

namespace {

constexpr std::array handledSignals{SIGINT, SIGTERM, SIGHUP};

std::atomic<int> firstSignal{0};
std::atomic<int> wakeDescriptor{-1};
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler uses these");

extern "C" void noteSignal(int signal) {
  const int error = errno;
  int none = 0;
  firstSignal.compare_exchange_strong(none, signal);
  const char byte = 0;
  // A full pipe is readable already.
  static_cast<void>(!::write(wakeDescriptor.load(), &byte, 1));
  errno = error;
}

}  // namespace

Interruption::Interruption() {
  std::array<int, 2> ends{-1, -1};
  if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) return;
  readEnd_.reset(ends[0]);
  writeEnd_.reset(ends[1]);
  wakeDescriptor = ends[1];
  for (const int signal : handledSignals) {
    struct sigaction before{};
    if (::sigaction(signal, nullptr, &before) != 0 || before.sa_handler == SIG_IGN) continue;
    struct sigaction action{};
    action.sa_handler = noteSignal;
    ::sigaction(signal, &action, nullptr);
  }
}

Interruption::~Interruption() {
  for (const int signal : handledSignals) {
    struct sigaction now{};
    if (::sigaction(signal, nullptr, &now) == 0 && now.sa_handler == noteSignal) std::signal(signal, SIG_DFL);
  }
  wakeDescriptor = -1;
  firstSignal = 0;
}

int Interruption::caughtSignal() { return firstSignal.load(); }

}  // namespace wicket::companion::command
