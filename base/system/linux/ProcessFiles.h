// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/types.h>
#include <vector>

namespace wicket::linux_adapter {

/// What proc(5) tells about the process that has a number while it is asked. Who asks about another process
/// asks a PinnedProcess, or keeps a Pidfd and looks afterwards whether that process is still alive: then all answers
/// were about it.
class ProcessFiles {
 public:
  explicit ProcessFiles(pid_t pid) : ProcessFiles(std::to_string(pid)) {}
  /// Those of the process that asks, whatever its number is where /proc was mounted.
  [[nodiscard]] static ProcessFiles ofThisProcess() { return ProcessFiles("self"); }

  /// "/proc/PID/NAME".
  [[nodiscard]] std::string path(std::string_view name) const;
  /// The whole content. None, with errno set, when there is no such process or no reading it.
  [[nodiscard]] std::optional<std::string> read(std::string_view name) const;
  /// A file that holds one number, such as "loginuid".
  [[nodiscard]] std::optional<std::uint32_t> number(std::string_view name) const;
  /// What a link such as "exe" leads to.
  [[nodiscard]] std::optional<struct stat> target(std::string_view name) const;
  /// Clock ticks since boot, field 22 of "stat". None as with read(), and EPROTO when it is not there.
  [[nodiscard]] std::optional<std::uint64_t> startTime() const;

  /// The number at position @p index, from 0, in the line of @p key in the content of "status".
  [[nodiscard]] static std::optional<std::uint32_t> statusNumber(std::string_view status, std::string_view key,
                                                                 int index = 0);
  /// All numbers in such a line, which may be none.
  [[nodiscard]] static std::vector<std::uint32_t> statusNumbers(std::string_view status, std::string_view key);
  /// The hexadecimal number in such a line, of 64 bits.
  [[nodiscard]] static std::optional<std::uint64_t> statusMask(std::string_view status, std::string_view key);

 private:
  explicit ProcessFiles(const std::string& name) : folder_("/proc/" + name + "/") {}

  std::string folder_;
};

}  // namespace wicket::linux_adapter
