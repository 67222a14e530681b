// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cerrno>

namespace wicket::linux_adapter {

/// Whether a call failed for want of descriptors or memory: then it says nothing about what was asked for.
[[nodiscard]] inline bool isShortage(int error) { return error == EMFILE || error == ENFILE || error == ENOMEM; }

}  // namespace wicket::linux_adapter
