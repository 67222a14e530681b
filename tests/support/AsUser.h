// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <stdexcept>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

namespace wicket::support {

/// This thread, and no other, acts as another user: what it connects meanwhile is that user's connection.
class AsUser {
 public:
  explicit AsUser(uid_t user) { become(user); }
  AsUser(const AsUser&) = delete;
  AsUser& operator=(const AsUser&) = delete;
  ~AsUser() { ::syscall(SYS_setresuid, -1, 0, -1); }

 private:
  /// The library's own function would change all threads.
  static void become(uid_t user) {
    if (::syscall(SYS_setresuid, -1, user, -1) != 0) throw std::runtime_error("cannot act as another user");
  }
};

}  // namespace wicket::support
