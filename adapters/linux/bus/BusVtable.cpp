// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/bus/BusVtable.h"

#include <cstdint>
#include <utility>

#include "wire/BusNames.h"
#include "wire/ReplyBlock.h"

namespace wicket::linux_adapter {
namespace {

/// Names of the signal's two values, each ended by a NUL.
constexpr char replyBlockNames[] = "serial\0value\0";

}  // namespace

BusVtable::BusVtable(std::string interfaceName) : interfaceName_(std::move(interfaceName)) {
  auto& start = append(_SD_BUS_VTABLE_START).x.start;
  start.element_size = sizeof(sd_bus_vtable);
  start.features = _SD_BUS_VTABLE_PARAM_NAMES;
  start.vtable_format_reference = &sd_bus_object_vtable_format;
}

BusVtable BusVtable::ofMethods(const Interface& interface, sd_bus_message_handler_t handler) {
  BusVtable table("net.orvane.Wicket." + std::string(interface.name));
  for (const Selector& selector : interface.selectors) {
    sd_bus_vtable& entry = table.append(_SD_BUS_VTABLE_METHOD);
    // Who may connect may call everything: sd-bus must not ask for privileges of its own.
    entry.flags = SD_BUS_VTABLE_UNPRIVILEGED;
    entry.x.method.member = table.keep(wire::memberName(selector));
    entry.x.method.signature = table.keep(wire::signature(selector.arguments));
    entry.x.method.result = table.keep(wire::signature(selector.reply));
    entry.x.method.handler = handler;
    entry.x.method.names = "";
  }
  table.append(_SD_BUS_VTABLE_END);
  return table;
}

BusVtable BusVtable::ofReplyBlockSignal() {
  BusVtable table(wire::replyBlockInterface);
  auto& signal = table.append(_SD_BUS_VTABLE_SIGNAL).x.signal;
  signal.member = wire::replyBlockSignal;
  signal.signature = wire::replyBlockSignature;
  signal.names = replyBlockNames;
  table.append(_SD_BUS_VTABLE_END);
  return table;
}

int BusVtable::addTo(sd_bus* bus, void* userdata) const {
  return sd_bus_add_object_vtable(bus, nullptr, wire::objectPath, interfaceName_.c_str(), entries_.data(), userdata);
}

sd_bus_vtable& BusVtable::append(decltype(_SD_BUS_VTABLE_METHOD) type) {
  sd_bus_vtable& entry = entries_.emplace_back();
  entry.type = static_cast<std::uint8_t>(type);
  return entry;
}

}  // namespace wicket::linux_adapter
