// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include "companion/doctor/Finding.h"

namespace wicket::companion::doctor {

/// What came back when the helper was asked for its version.
enum class HelperAnswer {
  unreachable,  ///< there was no connection
  refused,      ///< it cut the connection
  silent,       ///< it neither answered nor cut the connection
  overLimit,    ///< this user has as many connections as he may have
  answered,
};

/// The last finding. @p error tells why the helper was unreachable, as an error number.
[[nodiscard]] Finding diagnose(HelperAnswer answer, int error = 0);

}  // namespace wicket::companion::doctor
