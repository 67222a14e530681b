// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <sys/types.h>

namespace wicket::support {

/// A process that does nothing, as an ordinary user, until this object goes.
class UserProcess {
 public:
  static constexpr uid_t nobody = 65534;

  explicit UserProcess(uid_t uid = nobody);
  UserProcess(const UserProcess&) = delete;
  UserProcess& operator=(const UserProcess&) = delete;
  ~UserProcess() { end(); }

  [[nodiscard]] pid_t pid() const { return pid_; }
  [[nodiscard]] uid_t uid() const { return uid_; }
  /// Kills it and waits until nothing of it is left.
  void end();
  /// Kills it but leaves the remains, as a parent does that does not wait for its child.
  void endUnnoticed() const;

 private:
  pid_t pid_;
  const uid_t uid_;
};

}  // namespace wicket::support
