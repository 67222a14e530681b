// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/macos/LaunchdServiceJob.h"

namespace wicket::macos_adapter {

/// launchd ends the helper but not the shell that runs this line: the shell leads a process group of its own.
std::string LaunchdServiceJob::removalCommandLine() {
  const std::string job = "net.orvane.Wicket.TlvPrivilegedHelper";
  return "launchctl remove " + job + " && rm -Rf /Library/PrivilegedHelperTools/" + job;
}

}  // namespace wicket::macos_adapter
