// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>

#include "helper/platform/AuthorizationServices.h"

namespace wicket::linux_adapter {

/// The English text for a status, as users of the service know it from macOS.
[[nodiscard]] std::string authorizationStatusText(AuthorizationStatus status);

}  // namespace wicket::linux_adapter
