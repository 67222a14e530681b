// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <sys/stat.h>

#include "base/text/DisplayText.h"
#include "companion/ScriptName.h"
#include "companion/command/Commands.h"
#include "companion/command/ExitStatus.h"

namespace wicket::companion::command {

int remove(Context& context, const std::string& name) {
  if (const auto problem = problemWithBareName(name)) {
    context.output.printProblem(*problem);
    return exit_status::usage;
  }
  struct stat status{};
  // The helper calls the removal of a missing script a success; only the folder tells the difference.
  const bool existed = ::stat((context.scriptFolder + "/" + name).c_str(), &status) == 0;
  auto helper = HelperConnection::connect(context.connection);
  if (!helper) return context.report(helper.error());
  const auto code = helper->uninstallScriptWithFilename(name);
  if (!code) return context.report(code.error());
  if (*code != reply_code::success) {
    context.output.printProblem(
        {"The script " + quotedText(name) + " could not be removed (code " + std::to_string(*code) + ")",
         "Check that " + context.scriptFolder + " can be written to"});
    return exit_status::failure;
  }
  context.output.printLine(existed ? "Removed " + quotedText(name) + "."
                                   : "No script " + quotedText(name) + " was installed; nothing was removed.");
  return exit_status::success;
}

}  // namespace wicket::companion::command
