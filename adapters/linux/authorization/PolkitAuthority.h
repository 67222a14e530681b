// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <expected>
#include <memory>
#include <mutex>

#include "adapters/linux/authorization/PolkitConversation.h"

namespace wicket::linux_adapter {

/// Sees to it that all who ask polkit at the same time do so in one conversation. Any thread.
class PolkitAuthority {
 public:
  /// The one that is under way, or else a new one; -60008 when there is none to be had.
  [[nodiscard]] std::expected<std::shared_ptr<PolkitConversation>, AuthorizationStatus> conversation();

 private:
  std::mutex mutex_;
  std::weak_ptr<PolkitConversation> current_;
};

}  // namespace wicket::linux_adapter
