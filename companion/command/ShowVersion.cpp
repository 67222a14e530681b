// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/command/Commands.h"
#include "companion/command/ExitStatus.h"

namespace wicket::companion::command {

int showVersion(Context& context) {
  auto helper = HelperConnection::connect(context.connection);
  if (!helper) return context.report(helper.error());
  const auto version = helper->getVersion();
  if (!version) return context.report(version.error());
  context.output.printLine(*version);
  return exit_status::success;
}

}  // namespace wicket::companion::command
