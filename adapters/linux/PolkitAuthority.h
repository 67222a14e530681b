// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <expected>
#include <string>

#include "adapters/linux/ProcessIdentity.h"
#include "adapters/linux/SdHandle.h"
#include "platform/AuthorizationServices.h"

namespace wicket::linux_adapter {

/// One conversation with polkit over a connection of its own to the system bus.
class PolkitAuthority {
 public:
  /// -60008 when there is no system bus.
  [[nodiscard]] static std::expected<PolkitAuthority, AuthorizationStatus> connect();

  /// Asks whether the process may do this, which may put a question to its user: blocks without a time
  /// limit until he has answered.
  [[nodiscard]] AuthorizationStatus checkAuthorization(const ProcessIdentity& subject, const std::string& action);

 private:
  explicit PolkitAuthority(SdHandle<sd_bus> bus) : bus_(std::move(bus)) {}
  [[nodiscard]] bool knowsPidfds();
  [[nodiscard]] SdHandle<sd_bus_message> makeRequest(const ProcessIdentity& subject, const std::string& action);

  SdHandle<sd_bus> bus_;
};

}  // namespace wicket::linux_adapter
