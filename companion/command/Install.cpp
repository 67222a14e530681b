// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <cstring>
#include <filesystem>
#include <sys/stat.h>

#include "base/text/DisplayText.h"
#include "companion/AuthorizationRequest.h"
#include "companion/ScriptFile.h"
#include "companion/ScriptName.h"
#include "companion/StagedScript.h"
#include "companion/command/Commands.h"
#include "companion/command/ExitStatus.h"
#include "companion/command/Problems.h"
#include "protocol/HelperLines.h"

namespace wicket::companion::command {

namespace {

std::string nameFor(const InstallOptions& options) {
  return options.name ? *options.name : std::filesystem::path(options.file).filename().string();
}

void warnAbout(const ScriptFile& script, Output& output) {
  if (script.hasCarriageReturns()) {
    output.printWarning({"The lines of " + quotedText(script.path()) + " end in CR LF, and " + script.tool() +
                             " will read the CR as part of each line",
                         "Convert it with: sed -i 's/\\r$//' FILE"});
  }
  struct stat status{};
  if (::stat(script.tool().c_str(), &status) != 0) {
    output.printWarning(
        {"The tool " + quotedText(script.tool()) + " is not on this machine, so the script cannot run yet",
         "Install the tool, or correct the script's first line"});
  }
}

/// The last failed authentication that the helper reported; its line goes to the user as it is.
class ConsentWatch {
 public:
  explicit ConsentWatch(Output& output) : output_(output) {}

  void logLine(std::string_view text) {
    output_.printHelperLine(text);
    if (const auto message = HelperLines::authenticationMessage(text); message && !message->empty())
      message_ = *message;
  }
  [[nodiscard]] const std::string& message() const { return message_; }

 private:
  Output& output_;
  std::string message_;
};

int send(Context& context, const std::string& source, const std::string& name) {
  const auto authorization = AuthorizationRequest::forThisProcess();
  if (!authorization) {
    context.output.printProblem(
        {std::string("This process cannot be described to polkit: ") + std::strerror(authorization.error()),
         "Check that /proc is mounted"});
    return exit_status::failure;
  }
  auto helper = HelperConnection::connect(context.connection);
  if (!helper) return context.report(helper.error());
  ConsentWatch watch(context.output);
  helper->onLogLine([&watch](std::string_view text) { watch.logLine(text); });
  const auto agent = PolkitTextAgent::start(context.textAgent);
  const std::string destination = HelperPath::scriptFolderPrefix + name;
  const auto code = helper->installScript(source + "," + destination, authorization->externalForm());
  if (!code) return context.report(code.error());
  if (*code == reply_code::success) {
    context.output.printLine("Installed " + destination + ".");
    return exit_status::success;
  }
  if (*code == reply_code::notAuthorized) {
    const auto absence = agent ? std::nullopt : std::optional(agent.error());
    context.output.printProblem(problemWithConsent(watch.message(), absence));
  } else {
    context.output.printProblem(
        {"The helper could not install " + destination + " (code " + std::to_string(*code) + ")",
         "Check that you may read " + quotedText(source) +
             ", that nobody changed it meanwhile, and that the disk has room"});
  }
  return exit_status::failure;
}

}  // namespace

int install(Context& context, const InstallOptions& options) {
  const auto script = ScriptFile::inspect(options.file);
  if (!script) {
    context.output.printProblem(script.error());
    return exit_status::failure;
  }
  const std::string name = nameFor(options);
  if (const auto problem = problemWithNewName(name)) {
    context.output.printProblem(*problem);
    return exit_status::usage;
  }
  warnAbout(*script, context.output);
  if (!StagedScript::isNeededFor(script->path())) return send(context, script->path(), name);
  const auto staged = StagedScript::copyOf(script->path(), StagedScript::usualFolders());
  if (staged) return send(context, staged->path(), name);
  context.output.printProblem(staged.error());
  return exit_status::failure;
}

}  // namespace wicket::companion::command
