// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/support/ProcessInspection.h"

#include <algorithm>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace wicket::support {
namespace {

std::string procFile(pid_t pid, const char* name) { return "/proc/" + std::to_string(pid) + "/" + name; }

std::string contentOf(const std::string& path) {
  // Unlike an iterator this does not throw when the process ends while its file is read.
  std::ostringstream content;
  content << std::ifstream(path).rdbuf();
  return content.str();
}

/// The number behind "Key:" in a status file; 0 without it.
std::size_t statusNumber(pid_t pid, const std::string& key) {
  std::istringstream lines(contentOf(procFile(pid, "status")));
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with(key)) return std::stoul(line.substr(key.size()));
  }
  return 0;
}

/// Fields 3 and 4 of a stat line: the state and the parent. The name before them may hold anything.
struct Ancestry {
  char state = 'X';
  pid_t parent = 0;
};

Ancestry ancestryOf(pid_t pid) {
  const std::string line = contentOf(procFile(pid, "stat"));
  const std::size_t nameEnd = line.rfind(')');
  Ancestry result;
  if (nameEnd == std::string::npos) return result;
  std::istringstream rest(line.substr(nameEnd + 1));
  rest >> result.state >> result.parent;
  return result;
}

}  // namespace

bool ProcessInspection::isAlive(pid_t pid) {
  const char state = ancestryOf(pid).state;
  return state != 'X' && state != 'Z';
}

std::size_t ProcessInspection::residentBytes(pid_t pid) { return statusNumber(pid, "VmRSS:") * 1024; }

std::size_t ProcessInspection::threadCount(pid_t pid) { return statusNumber(pid, "Threads:"); }

std::chrono::nanoseconds ProcessInspection::processorTime(pid_t pid) {
  clockid_t clock{};
  timespec time{};
  if (::clock_getcpuclockid(pid, &clock) != 0 || ::clock_gettime(clock, &time) != 0) return {};
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

std::size_t ProcessInspection::descriptorCount(pid_t pid) {
  std::error_code error;
  const std::filesystem::directory_iterator entries(procFile(pid, "fd"), error);
  return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

std::vector<pid_t> ProcessInspection::childrenOf(pid_t pid) {
  std::vector<pid_t> children;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    const std::string name = entry.path().filename().string();
    if (!std::ranges::all_of(name, [](char c) { return c >= '0' && c <= '9'; })) continue;
    const auto candidate = static_cast<pid_t>(std::stol(name));
    if (ancestryOf(candidate).parent == pid) children.push_back(candidate);
  }
  return children;
}

void ProcessInspection::endAllChildren() {
  // Each one that ends may leave us its own children.
  for (auto children = childrenOf(::getpid()); !children.empty(); children = childrenOf(::getpid())) {
    for (const pid_t child : children) {
      ::kill(child, SIGKILL);
      ::waitpid(child, nullptr, 0);
    }
  }
}

}  // namespace wicket::support
