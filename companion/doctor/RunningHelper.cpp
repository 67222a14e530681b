// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/doctor/RunningHelper.h"

#include <cstdint>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include "companion/doctor/Shortage.h"
#include "protocol/Identifier.h"

namespace wicket::companion::doctor {

namespace {

namespace fs = std::filesystem;

constexpr std::int64_t nanosecondsInSecond = 1'000'000'000;

std::int64_t nanoseconds(const timespec& time) { return time.tv_sec * nanosecondsInSecond + time.tv_nsec; }

std::string contentOf(const fs::path& file) {
  std::ostringstream text;
  text << std::ifstream(file).rdbuf();  // stays empty when the process has gone meanwhile
  return text.str();
}

/// A container's processes are seen from outside as well; theirs is a number for each of the two.
bool isInThisPidNamespace(const fs::path& process) {
  return contentOf(process / "status").find("\nNSpid:\t" + process.filename().string() + "\n") != std::string::npos;
}

/// A script of the helper is in its cgroup as well, and anybody may use the name; root's processes use it in no other
/// cgroup.
bool isHelper(const fs::path& process) {
  struct stat owner{};
  if (::stat(process.c_str(), &owner) != 0 || owner.st_uid != 0) return false;
  constexpr std::size_t longestName = 15;  // of TASK_COMM_LEN
  const std::string job(Identifier::privilegedHelper);
  return contentOf(process / "comm") == job.substr(0, longestName) + "\n" &&
         contentOf(process / "cgroup").find("/" + job + ".service\n") != std::string::npos &&
         isInThisPidNamespace(process);
}

/// Since the epoch; 0 when it is not known. Field 22 of "stat" counts from the machine's start.
std::int64_t beginOf(const fs::path& process) {
  const std::string text = contentOf(process / "stat");
  std::istringstream fields(text.substr(text.rfind(')') + 1));
  std::string field;
  for (int number = 3; number <= 22; ++number) fields >> field;
  std::int64_t ticks = 0;
  timespec now{};
  timespec sinceStart{};
  if (!(std::istringstream(field) >> ticks) || ::clock_gettime(CLOCK_REALTIME, &now) != 0 ||
      ::clock_gettime(CLOCK_BOOTTIME, &sinceStart) != 0) {
    return 0;
  }
  return nanoseconds(now) - nanoseconds(sinceStart) + ticks * (nanosecondsInSecond / ::sysconf(_SC_CLK_TCK));
}

}  // namespace

std::expected<bool, int> runningHelperIsOlderThan(const std::string& executable) {
  struct stat file{};
  if (::stat(executable.c_str(), &file) != 0) return false;
  std::error_code error;
  const fs::directory_iterator processes("/proc", error);
  // Each of its files is read with one more descriptor.
  if (const int shortage = Shortage::behind(error.value(), 1); shortage != 0) return std::unexpected(shortage);
  for (const auto& entry : processes) {
    if (!isHelper(entry.path())) continue;
    const std::int64_t begin = beginOf(entry.path());
    if (begin != 0 && begin < nanoseconds(file.st_ctim)) return true;
  }
  return false;
}

}  // namespace wicket::companion::doctor
