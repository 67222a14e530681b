// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstdint>
#include <systemd/sd-bus.h>

#include "base/system/Descriptor.h"
#include "base/system/linux/SdHandle.h"

namespace wicket::linux_adapter {

/// The helper's end of the D-Bus connection with one client. It writes to the client's socket but reads from a feed.
/// I/O thread only.
class ServerBus {
 public:
  /// Starts to speak with the client; @p handler looks at each message first. A negative errno on failure.
  [[nodiscard]] int start(int client, Descriptor feedEnd, sd_bus_message_handler_t handler, void* userData);
  /// Writes and handles all that can be now; false when the bus can carry nothing more.
  [[nodiscard]] bool process();
  /// True once the client has said who it is.
  [[nodiscard]] bool isReady() const { return sd_bus_is_ready(bus_.get()) > 0; }
  /// What the socket has no room for yet.
  [[nodiscard]] std::uint64_t unwrittenMessages() const;
  [[nodiscard]] bool waitsToWrite() const;
  [[nodiscard]] sd_bus* get() const { return bus_.get(); }
  void close() { bus_.reset(); }

 private:
  SdHandle<sd_bus> bus_;
};

}  // namespace wicket::linux_adapter
