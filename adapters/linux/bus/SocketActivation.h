// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <expected>

#include "base/system/Descriptor.h"

namespace wicket::linux_adapter {

/// Why the process has no socket to listen on.
enum class SocketActivationError { notHandedOver, notAListeningUnixStreamSocket };

/// The one listening socket that the service manager handed over, non-blocking and not inherited by
/// children. Clears the environment's record of it: call it before other threads run.
[[nodiscard]] std::expected<Descriptor, SocketActivationError> takeActivationSocket();

}  // namespace wicket::linux_adapter
