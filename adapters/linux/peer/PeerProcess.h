// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstdint>
#include <expected>
#include <optional>
#include <sys/types.h>

#include "adapters/linux/peer/CallingClient.h"
#include "base/system/linux/Pidfd.h"
#include "helper/platform/AuditToken.h"

namespace wicket::linux_adapter {

/// The process at the other end of a Unix socket, as the kernel knew it when it connected: SO_PEERCRED,
/// SO_PEERGROUPS and SO_PEERPIDFD of unix(7), and what proc(5) adds, such as the real group.
class PeerProcess {
 public:
  /// To be called when the connection is accepted. An errno when the system lacks descriptors or memory
  /// for it. A process that has gone by then is described as far as the kernel remembers it, and one of
  /// which the kernel says nothing is nobody: all zero.
  [[nodiscard]] static std::expected<PeerProcess, int> ofSocket(int descriptor);
  /// The user alone, as whom it connected; the one that stands for nobody when the kernel says nothing.
  [[nodiscard]] static uid_t userOf(int descriptor);

  [[nodiscard]] const AuditTokenData& auditToken() const { return token_; }
  [[nodiscard]] CallingClient client() const { return {pid_, uid_, {}}; }
  [[nodiscard]] pid_t pid() const { return pid_; }
  /// Whether the process is alive and runs the executable that it ran when the connection was accepted.
  /// Any thread.
  [[nodiscard]] bool isUnchanged() const;

  /// What tells a process from a later one of the same number: the inode of its pidfd, or its start time
  /// where pidfds have none. None when that cannot be found out.
  [[nodiscard]] static std::optional<std::uint64_t> versionOf(const Pidfd& pidfd, pid_t pid);

 private:
  struct Image {
    dev_t device;
    ino_t inode;
    bool operator==(const Image&) const = default;
  };

  PeerProcess(pid_t pid, uid_t uid) : pid_(pid), uid_(uid) {}
  [[nodiscard]] static std::optional<Image> imageOf(pid_t pid);

  pid_t pid_;
  uid_t uid_;
  std::optional<std::uint64_t> version_;
  std::optional<Image> image_;
  AuditTokenData token_{};
};

}  // namespace wicket::linux_adapter
