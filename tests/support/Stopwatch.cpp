// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/support/Stopwatch.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>
#include <utility>

namespace wicket::support {

Stopwatch::Stopwatch(std::vector<pid_t> others) : processes_(std::move(others)) {
  processes_.push_back(::getpid());
  delaysBefore_ = delays();
  started_ = Clock::now();
}

std::chrono::nanoseconds Stopwatch::elapsed() const {
  std::chrono::nanoseconds time = Clock::now() - started_;
  for (const auto& [thread, delay] : delays()) {
    const auto before = delaysBefore_.find(thread);
    time -= before == delaysBefore_.end() ? delay : delay - before->second;
  }
  return time;
}

Stopwatch::DelayOfThread Stopwatch::delays() const {
  DelayOfThread all;
  for (const pid_t process : processes_) {
    std::error_code gone;
    const std::string folder = "/proc/" + std::to_string(process) + "/task";
    for (const auto& thread : std::filesystem::directory_iterator(folder, gone)) {
      std::ifstream statistics(thread.path() / "schedstat");
      std::chrono::nanoseconds::rep running = 0;
      std::chrono::nanoseconds::rep waiting = 0;
      if (statistics >> running >> waiting) {
        all.emplace(std::stoi(thread.path().filename()), std::chrono::nanoseconds(waiting));
      }
    }
  }
  return all;
}

}  // namespace wicket::support
