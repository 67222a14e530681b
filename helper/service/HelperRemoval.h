// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>

#include "helper/platform/Platform.h"

namespace wicket {

/// The helper's removal of itself.
struct HelperRemoval {
  /// With @p all, removes the script folder first, ignoring a failure. Then starts a shell that
  /// removes the job and the executable. It is not waited for and nobody is told: removing the job
  /// ends this process.
  static void uninstall(Platform& platform, bool all, const std::string& bashShebang);
};

}  // namespace wicket
