// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <deque>
#include <string>
#include <systemd/sd-bus.h>
#include <vector>

#include "protocol/Selector.h"

namespace wicket::linux_adapter {

/// Describes the exported object to sd-bus: which members exist, with which types. Has to outlive the
/// buses it was added to.
class BusVtable {
 public:
  /// The methods of @p interface, all handled by @p handler.
  static BusVtable ofMethods(const Interface& interface, sd_bus_message_handler_t handler);
  /// The signal of reply blocks, for introspection.
  static BusVtable ofReplyBlockSignal();

  /// Adds the interface to the one exported object; a negative errno on failure.
  [[nodiscard]] int addTo(sd_bus* bus, void* userdata) const;

 private:
  explicit BusVtable(std::string interfaceName);
  sd_bus_vtable& append(decltype(_SD_BUS_VTABLE_METHOD) type);
  const char* keep(std::string text) { return strings_.emplace_back(std::move(text)).c_str(); }

  std::string interfaceName_;
  std::deque<std::string> strings_;
  std::vector<sd_bus_vtable> entries_;
};

}  // namespace wicket::linux_adapter
