// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <memory>
#include <optional>

#include "adapters/linux/bus/BusAcceptor.h"
#include "adapters/linux/bus/BusThread.h"
#include "adapters/linux/bus/SerialExecutor.h"
#include "adapters/linux/peer/UserShares.h"
#include "base/system/Descriptor.h"
#include "helper/platform/Listener.h"

namespace wicket::linux_adapter {

/// Serves clients on a listening Unix stream socket, each by a D-Bus connection of its own. Its
/// connections share its I/O thread: they end with the listener.
class BusListener final : public Listener {
 public:
  /// @p shares are those of all users in everything that they do with the helper.
  explicit BusListener(Descriptor listening, std::shared_ptr<UserShares> shares = std::make_shared<UserShares>());
  ~BusListener() override;

  void setDelegate(ListenerDelegate& delegate) override;
  /// Starts the I/O thread. Without a delegate nobody could be accepted, and it has no effect.
  void resume() override;
  void finish() override;

 private:
  class Finish;

  Descriptor listening_;
  const std::shared_ptr<BusDoorbell> doorbell_;
  const std::shared_ptr<UserShares> shares_;
  SerialExecutor delegateQueue_;
  ListenerDelegate* delegate_ = nullptr;
  std::optional<BusAcceptor> acceptor_;
  std::optional<BusThread> thread_;
};

}  // namespace wicket::linux_adapter
