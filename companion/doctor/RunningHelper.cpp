// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/doctor/RunningHelper.h"

#include <charconv>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include "base/system/linux/ProcessFiles.h"
#include "companion/doctor/Shortage.h"
#include "protocol/Identifier.h"

namespace wicket::companion::doctor {

namespace {

namespace fs = std::filesystem;
using linux_adapter::ProcessFiles;

constexpr std::int64_t nanosecondsInSecond = 1'000'000'000;

std::int64_t nanoseconds(const timespec& time) { return time.tv_sec * nanosecondsInSecond + time.tv_nsec; }

/// The process of a folder in /proc; none for the folders of other things.
std::optional<pid_t> processOf(const fs::path& folder) {
  const std::string name = folder.filename().string();
  pid_t pid = 0;
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), pid);
  return error == std::errc() && end == name.data() + name.size() ? std::optional(pid) : std::nullopt;
}

/// Empty when the process has gone meanwhile.
std::string contentOf(const ProcessFiles& process, std::string_view name) { return process.read(name).value_or(""); }

/// A container's processes are seen from outside as well; theirs is a number for each of the two.
bool isInThisPidNamespace(const ProcessFiles& process) {
  const std::string status = contentOf(process, "status");
  return ProcessFiles::statusNumber(status, "NSpid", 0) && !ProcessFiles::statusNumber(status, "NSpid", 1);
}

/// A script of the helper is in its cgroup as well, and anybody may use the name; root's processes use it in no other
/// cgroup.
bool isHelper(const ProcessFiles& process) {
  struct stat owner{};
  if (::stat(process.path("").c_str(), &owner) != 0 || owner.st_uid != 0) return false;
  constexpr std::size_t longestName = 15;  // of TASK_COMM_LEN
  const std::string job(Identifier::privilegedHelper);
  return contentOf(process, "comm") == job.substr(0, longestName) + "\n" &&
         contentOf(process, "cgroup").find("/" + job + ".service\n") != std::string::npos &&
         isInThisPidNamespace(process);
}

/// Since the epoch; none when it is not known. The system counts from the machine's start.
std::optional<std::int64_t> beginOf(const ProcessFiles& process) {
  const auto ticks = process.startTime();
  timespec now{};
  timespec sinceStart{};
  if (!ticks || ::clock_gettime(CLOCK_REALTIME, &now) != 0 || ::clock_gettime(CLOCK_BOOTTIME, &sinceStart) != 0) {
    return std::nullopt;
  }
  const std::int64_t nanosecondsInTick = nanosecondsInSecond / ::sysconf(_SC_CLK_TCK);
  return nanoseconds(now) - nanoseconds(sinceStart) + static_cast<std::int64_t>(*ticks) * nanosecondsInTick;
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
    const auto pid = processOf(entry.path());
    if (!pid) continue;
    const ProcessFiles process(*pid);
    if (!isHelper(process)) continue;
    const auto begin = beginOf(process);
    if (begin && *begin < nanoseconds(file.st_ctim)) return true;
  }
  return false;
}

}  // namespace wicket::companion::doctor
