// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include "helper/platform/ServiceJob.h"

namespace wicket::linux_adapter {

/// The socket and the service that systemd knows the helper by.
class SystemdServiceJob : public ServiceJob {
 public:
  std::string removalCommandLine() override;
};

}  // namespace wicket::linux_adapter
