// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/doctor/PolkitPresence.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <systemd/sd-bus.h>

namespace wicket::companion::doctor {

namespace {

struct BusRelease {
  void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
};

/// A list of texts as the D-Bus library hands it out.
class NameList {
 public:
  NameList() = default;
  NameList(const NameList&) = delete;
  NameList& operator=(const NameList&) = delete;
  ~NameList() {
    for (char** name = names_; name != nullptr && *name != nullptr; ++name) std::free(*name);
    std::free(names_);
  }
  [[nodiscard]] char*** destination() { return &names_; }
  [[nodiscard]] bool contains(std::string_view wanted) const {
    for (char** name = names_; name != nullptr && *name != nullptr; ++name) {
      if (wanted == *name) return true;
    }
    return false;
  }

 private:
  char** names_ = nullptr;
};

}  // namespace

std::expected<bool, int> polkitIsOnBus() {
  sd_bus* opened = nullptr;
  if (const int result = sd_bus_open_system(&opened); result < 0) return std::unexpected(-result);
  const std::unique_ptr<sd_bus, BusRelease> bus(opened);
  NameList running;
  NameList startable;
  const int result = sd_bus_list_names(bus.get(), running.destination(), startable.destination());
  if (result < 0) return std::unexpected(-result);
  constexpr std::string_view polkit = "org.freedesktop.PolicyKit1";
  return running.contains(polkit) || startable.contains(polkit);
}

}  // namespace wicket::companion::doctor
