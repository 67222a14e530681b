// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cerrno>
#include <concepts>
#include <expected>
#include <sys/types.h>
#include <type_traits>
#include <utility>

#include "base/system/linux/Pidfd.h"
#include "base/system/linux/ProcessFiles.h"

namespace wicket::linux_adapter {

/// One process and what proc(5) tells about it, which is never about a later process of the same number.
class PinnedProcess {
 public:
  /// The process that has this number now. The error is an errno.
  [[nodiscard]] static std::expected<PinnedProcess, int> of(pid_t pid) {
    Pidfd pidfd = Pidfd::open(pid);
    if (!pidfd.isOpen()) return std::unexpected(errno);
    return PinnedProcess(std::move(pidfd), pid);
  }
  /// @p pidfd is of the process that had the number @p pid when the pidfd was made.
  PinnedProcess(Pidfd pidfd, pid_t pid) : pidfd_(std::move(pidfd)), files_(pid) {}

  [[nodiscard]] const Pidfd& pidfd() const { return pidfd_; }

  /// What @p question, which returns a std::expected with an errno, finds out from the process's files. ESRCH when the
  /// process has ended meanwhile: being alive afterwards, it had its number all the time.
  template <std::invocable<const ProcessFiles&> Question>
  [[nodiscard]] std::invoke_result_t<Question, const ProcessFiles&> ask(Question question) const {
    auto answer = question(files_);
    if (answer && !pidfd_.isAlive()) return std::unexpected(ESRCH);
    return answer;
  }

 private:
  Pidfd pidfd_;
  ProcessFiles files_;
};

}  // namespace wicket::linux_adapter
