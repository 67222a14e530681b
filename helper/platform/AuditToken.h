// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <array>
#include <cstddef>

namespace wicket {

/// Names one process for as long as it lives and runs the same executable: eight 32-bit words in
/// native byte order, namely audit user, effective user, effective group, real user, real group,
/// process, audit session and version of the process. Opaque to everybody but the platform.
/// All zero names nobody.
using AuditTokenData = std::array<std::byte, 32>;

}  // namespace wicket
