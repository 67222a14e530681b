// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>
#include <sys/types.h>

namespace wicket::linux_adapter {

/// A user as a question shows him: "alice" (1000), and by his number twice where he has no name, or there was no
/// looking it up.
[[nodiscard]] std::string userInWords(uid_t user);

}  // namespace wicket::linux_adapter
