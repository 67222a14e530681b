// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <memory>
#include <string>
#include <sys/types.h>

namespace wicket::support {

/// A real system bus and a real polkit with private configuration, for as long as this object lives.
/// Only inside a private namespace in which /run has been replaced (PrivateFolders).
class PolkitSandbox {
 public:
  /// Knows the actions of this policy file and no others. Null, with the reason on standard error, when
  /// the daemons could not be started.
  [[nodiscard]] static std::unique_ptr<PolkitSandbox> start(const std::string& policyFile);

  PolkitSandbox(const PolkitSandbox&) = delete;
  PolkitSandbox& operator=(const PolkitSandbox&) = delete;
  ~PolkitSandbox();

  /// What polkit decides from now on: "yes", "no", "auth_admin" (ask the user), or "default" (what the
  /// policy says), which it is at first. Root is always granted everything.
  void setAnswer(const std::string& answer);

 private:
  PolkitSandbox(pid_t pid, int input) : pid_(pid), input_(input) {}

  const pid_t pid_;
  const int input_;
};

}  // namespace wicket::support
