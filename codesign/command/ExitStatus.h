// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

namespace wicket::codesign::command::exit_status {

inline constexpr int success = 0;
/// The file is not signed, the signature does not count, or something could not be done.
inline constexpr int failure = 1;
inline constexpr int usage = 2;
/// The signature is valid, but its maker or its program is not the one that was required.
inline constexpr int requirementNotMet = 3;

}  // namespace wicket::codesign::command::exit_status
