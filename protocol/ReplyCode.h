// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstdint>

namespace wicket {

/// The integer that answers a call of HelperProtocol: signed, 64 bits on the wire. A run's second
/// report carries the child's own exit status instead of one of these.
using ReplyCode = std::int64_t;

namespace reply_code {

/// Success. For a run: the child was started.
inline constexpr ReplyCode success = 0;
/// The authorization was not granted or could not be verified.
inline constexpr ReplyCode notAuthorized = 156;
/// Removal failed, the path string was malformed, or the script object could not be created.
inline constexpr ReplyCode removalFailed = 367;
inline constexpr ReplyCode scriptUnreadable = 367;
/// The script has no usable shebang line.
inline constexpr ReplyCode noTool = 411;
/// Installation failed after the authorization had been granted.
inline constexpr ReplyCode installationFailed = 590;
/// Starting the child process failed.
inline constexpr ReplyCode launchFailed = 681;
/// No installed script has that name.
inline constexpr ReplyCode scriptNotFound = 756;

}  // namespace reply_code
}  // namespace wicket
