// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstddef>
#include <sys/types.h>
#include <vector>

namespace wicket::support {

/// The 32 bytes by which a client names the process that is to be authorized: a magic, the process's
/// number, its user, its start time and the inode of its pidfd.
[[nodiscard]] std::vector<std::byte> tokenOfProcess(pid_t pid);

}  // namespace wicket::support
