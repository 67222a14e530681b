// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "base/text/DisplayText.h"
#include "companion/ScriptName.h"
#include "companion/command/Commands.h"
#include "companion/command/ExitStatus.h"
#include "companion/command/Interruption.h"
#include "protocol/HelperLines.h"
#include "protocol/HelperProtocol.h"

namespace wicket::companion::command {

namespace {

/// Sorts what arrives during a run: scripts' output goes to standard output byte for byte, the helper's own
/// lines go to standard error. The helper reports the success of the script twice, first as soon as it has
/// started; both lines are left out, since the exit status says the same, and says it when it is true.
/// Lines of other scripts of the same user, which arrive when this connection is his newest, are all shown.
class RunOutput {
 public:
  RunOutput(Output& output, std::string_view scriptPath)
      : output_(output), success_(HelperLines::scriptSucceeded(scriptPath)) {}

  void logLine(std::string_view text) {
    if (text == success_ && successesToHide_ > 0) {
      --successesToHide_;
    } else if (HelperLines::recognises(text)) {
      output_.printHelperLine(text);
    } else {
      output_.printBytes(text);
    }
  }

 private:
  Output& output_;
  const std::string success_;
  int successesToHide_ = 2;
};

/// The helper's own line has said what is wrong; this says what to do.
Problem problemWithStart(const std::string& name, ReplyCode code) {
  const std::string start = "The script " + quotedText(name);
  switch (code) {
    case reply_code::scriptNotFound:
      return {start + " is not installed", "See the installed ones with: wicket list"};
    case reply_code::noTool:
      return {start + " does not name the tool that runs it in a \"#!\" line",
              "Correct the script and install it again"};
    case reply_code::launchFailed:
      return {"The tool that " + quotedText(name) + " names in its first line could not be started",
              "Install the tool, or correct the line and install the script again"};
    case reply_code::scriptUnreadable:
      return {start + " could not be read by the helper", "Install it again as a UTF-8 text"};
    default:
      return {start + " was not run (code " + std::to_string(code) + ")", "Install it again"};
  }
}

int reportLost(const Context& context, const std::string& name, CallError error) {
  const std::string end = "the script " + quotedText(name) + " keeps running as root and its exit status is not known";
  if (error == CallError::interrupted) {
    context.output.printProblem({"Interrupted; " + end, "Stop it as root if it has to end"});
    return exit_status::ofSignal(Interruption::caughtSignal());
  }
  const std::string lifetime = std::to_string(helper_protocol::connectionLifetime.count());
  context.output.printProblem({"The helper cut the connection, as it does after " + lifetime + " seconds; " + end,
                               "Let long scripts write their result to a file and start them with --no-wait"});
  return exit_status::statusUnknown;
}

}  // namespace

int run(Context& context, const RunOptions& options) {
  if (const auto problem = problemWithBareName(options.name)) {
    context.output.printProblem(*problem);
    return exit_status::usage;
  }
  auto helper = HelperConnection::connect(context.connection);
  if (!helper) return context.report(helper.error());
  RunOutput output(context.output, HelperPath::scriptFolderPrefix + options.name);
  helper->onLogLine([&output](std::string_view text) { output.logLine(text); });
  const auto reply = helper->runCommand(options.name);
  if (!reply) return context.report(reply.error());
  if (!reply->isStarted()) {
    context.output.printProblem(problemWithStart(options.name, reply->code));
    return exit_status::ofRunReply(reply->code);
  }
  if (!options.wait) return exit_status::success;
  const auto status = helper->waitForExit(*reply);
  if (!status) return reportLost(context, options.name, status.error());
  context.output.finishLine();
  return exit_status::ofScript(*status);
}

}  // namespace wicket::companion::command
