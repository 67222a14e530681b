// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <optional>
#include <sys/types.h>

namespace wicket::macos_adapter {

/// The user on whose behalf this thread is working, as the client's connection names him.
struct CallingUser {
  uid_t user;
  gid_t group;

  [[nodiscard]] static std::optional<CallingUser> current();

  class Scope;
};

/// Says it for as long as it lives.
class CallingUser::Scope {
 public:
  explicit Scope(const CallingUser& user);
  Scope(const Scope&) = delete;
  Scope& operator=(const Scope&) = delete;
  ~Scope();
};

}  // namespace wicket::macos_adapter
