// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include "protocol/ReplyCode.h"

namespace wicket::companion::command {

/// What the command ends with. A run ends with the script's own status, so the command's own failures in
/// it take the numbers that shells use for such cases.
namespace exit_status {

inline constexpr int success = 0;
inline constexpr int failure = 1;
inline constexpr int usage = 2;
inline constexpr int statusUnknown = 124;
inline constexpr int helperFailed = 125;
inline constexpr int toolNotStarted = 126;
inline constexpr int scriptNotFound = 127;

/// For the helper's first reply to a run.
[[nodiscard]] int ofRunReply(ReplyCode code);
/// For the later report: a script's status is 0 to 255 on its way through the kernel.
[[nodiscard]] int ofScript(ReplyCode status);
/// For a command that a signal ended.
[[nodiscard]] int ofSignal(int signal);

}  // namespace exit_status
}  // namespace wicket::companion::command
