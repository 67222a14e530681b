// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstdint>
#include <expected>

#include "base/system/linux/Pidfd.h"
#include "wire/AuthorizationToken.h"

namespace wicket::linux_adapter {

/// A living process with what tells it from every other, even from a later one of the same number.
class ProcessIdentity {
 public:
  /// An errno: ESRCH when there is no such process, or it has ended and only waits for its parent; a shortage
  /// (isShortage) says nothing about it.
  [[nodiscard]] static std::expected<ProcessIdentity, int> of(std::uint32_t pid);

  /// Whether the token names this process. The inode decides only where both sides have one.
  [[nodiscard]] bool matches(const wire::AuthorizationToken& token) const;
  /// Succeeds while the process runs as the same user; otherwise an errno as of() gives it.
  [[nodiscard]] std::expected<void, int> confirm() const;

  [[nodiscard]] std::uint32_t pid() const { return pid_; }
  [[nodiscard]] std::uint32_t uid() const { return uid_; }
  /// Clock ticks since boot, field 22 of /proc/PID/stat.
  [[nodiscard]] std::uint64_t startTime() const { return startTime_; }
  /// Zero where the kernel gives pidfds no inode of their own.
  [[nodiscard]] std::uint64_t pidfdInode() const { return pidfdInode_; }
  [[nodiscard]] int pidfd() const { return pidfd_.get(); }

 private:
  ProcessIdentity(Pidfd pidfd, std::uint32_t pid, std::uint32_t uid, std::uint64_t startTime);

  Pidfd pidfd_;
  std::uint32_t pid_;
  std::uint32_t uid_;
  std::uint64_t startTime_;
  std::uint64_t pidfdInode_;
};

}  // namespace wicket::linux_adapter
