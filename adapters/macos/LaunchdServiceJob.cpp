// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/macos/LaunchdServiceJob.h"

#include "protocol/HelperPath.h"

namespace wicket::macos_adapter {

/// launchd ends the helper but not the shell that runs this line: the shell leads a process group of its own.
std::string LaunchdServiceJob::removalCommandLine() {
  return std::string("launchctl remove ") + Identifier::privilegedHelper + " && rm -Rf " + HelperPath::privilegedTool();
}

}  // namespace wicket::macos_adapter
