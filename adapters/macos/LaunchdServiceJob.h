// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include "helper/platform/ServiceJob.h"

namespace wicket::macos_adapter {

/// The job that launchd knows the helper by.
class LaunchdServiceJob final : public ServiceJob {
 public:
  std::string removalCommandLine() override;
};

}  // namespace wicket::macos_adapter
