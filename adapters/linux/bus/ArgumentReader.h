// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <expected>
#include <span>
#include <systemd/sd-bus.h>
#include <vector>

#include "adapters/linux/bus/HelperCall.h"
#include "protocol/Selector.h"

namespace wicket::linux_adapter {

/// Reads what a call carries; the error is a negative errno, e.g. for text that is not UTF-8. Empty
/// data counts as absent. I/O thread only.
[[nodiscard]] std::expected<std::vector<Argument>, int> readArguments(sd_bus_message* message,
                                                                      std::span<const ArgumentType> types);

}  // namespace wicket::linux_adapter
