// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <optional>
#include <sys/types.h>

#include "adapters/linux/peer/UserShares.h"

namespace wicket::linux_adapter {

/// The client on whose behalf this thread is working, as the kernel named it when it connected. The
/// connection says so around each call that it delivers.
struct CallingClient {
  pid_t pid;
  uid_t uid;
  /// What the call takes of its user's shares, if anything. What outlives the call on its behalf keeps it.
  UserShares::Share share{};

  [[nodiscard]] static std::optional<CallingClient> current();

  class Scope;
};

/// Says it for as long as it lives.
class CallingClient::Scope {
 public:
  explicit Scope(CallingClient client);
  Scope(const Scope&) = delete;
  Scope& operator=(const Scope&) = delete;
  ~Scope();

 private:
  std::optional<CallingClient> previous_;
};

}  // namespace wicket::linux_adapter
