// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstdint>
#include <systemd/sd-bus.h>
#include <unordered_map>

#include "adapters/linux/bus/Outgoing.h"
#include "base/system/linux/SdHandle.h"

namespace wicket::linux_adapter {

/// Turns what is queued for a client into D-Bus messages. Keeps each request until its reply has been
/// made. I/O thread only.
class BusSender {
 public:
  [[nodiscard]] RequestId remember(sd_bus_message* request);
  /// A negative errno when the bus can carry nothing more.
  [[nodiscard]] int send(sd_bus* bus, const Outgoing& item);
  [[nodiscard]] bool hasBeenAsked() const { return lastNumber_ != 0; }
  /// True if no request waits for its reply.
  [[nodiscard]] bool hasAnsweredAll() const { return requests_.empty(); }
  void forgetAll() { requests_.clear(); }

 private:
  [[nodiscard]] SdHandle<sd_bus_message> take(RequestId request);
  int sendItem(sd_bus* bus, const MethodReply& reply);
  int sendItem(sd_bus* bus, const MissingReply& missing);
  int sendItem(sd_bus* bus, const LimitReached& reached);
  int sendItem(sd_bus* bus, const CalledAgain& again);
  int sendItem(sd_bus* bus, const LogLine& line);

  std::uint64_t lastNumber_ = 0;
  std::unordered_map<std::uint64_t, SdHandle<sd_bus_message>> requests_;
};

}  // namespace wicket::linux_adapter
