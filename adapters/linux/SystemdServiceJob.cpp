// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/SystemdServiceJob.h"

#include "protocol/Identifier.h"
#include "resources/BuildValues.h"

namespace wicket::linux_adapter {

/// The socket goes first, so that no client starts the service again. Stopping the service ends the
/// helper but not the shell that runs this line: the unit has KillMode=process for it.
std::string SystemdServiceJob::removalCommandLine() {
  const std::string name = Identifier::privilegedHelper;
  return "systemctl disable --now " + name + ".socket " + name + ".service && rm -Rf " +
         std::string(resources::BuildValues::helperExecutable());
}

}  // namespace wicket::linux_adapter
