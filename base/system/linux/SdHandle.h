// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <memory>
#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>

namespace wicket::linux_adapter {

struct SdUnref {
  void operator()(sd_event* event) const { sd_event_unref(event); }
  void operator()(sd_event_source* source) const { sd_event_source_disable_unref(source); }
  void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
  void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};

/// An owned sd-event or sd-bus object. A bus is closed, a source stopped, the wait for a
/// reply given up, with its owner.
template <typename T>
using SdHandle = std::unique_ptr<T, SdUnref>;

}  // namespace wicket::linux_adapter
