// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <future>
#include <mutex>

#include "helper/script/ScriptArguments.h"
#include "helper/script/TlvCoreScript.h"
#include "protocol/Extension.h"
#include "protocol/HelperLines.h"

namespace wicket {

/// What one run's two reports share.
struct TlvCoreScript::Run {
  explicit Run(Completion callback) : completion(std::move(callback)) {}

  const Completion completion;
  /// Set after the synchronous report. A child may have ended by then, but its caller takes the
  /// first report for the answer, so the later one waits for this.
  std::promise<void> synchronousReport;
  const std::shared_future<void> wasReported = synchronousReport.get_future().share();
};

bool TlvCoreScript::execute() {
  // The later report must not change what this call returns, however early it comes.
  struct FirstReport {
    std::once_flag once;
    bool isSuccess = true;
  };
  const auto first = std::make_shared<FirstReport>();
  execute([first](ReplyCode code) {
    std::call_once(first->once, [&] { first->isSuccess = code == reply_code::success; });
  });
  return first->isSuccess;
}

void TlvCoreScript::execute(const Completion& completion) {
  const auto tool = toolPath();
  if (!tool) {
    writeToLog(HelperLines::scriptHasNoTool(pathOrEmpty()));
    completion(reply_code::noTool);
    return;
  }
  auto arguments = argumentVector();
  if (!arguments) {
    completion(reply_code::scriptUnreadable);
    return;
  }

  const auto run = std::make_shared<Run>(completion);
  const auto child = launcher_.launch(makeTask(*tool, std::move(*arguments), run));
  if (!child) {
    report(static_cast<int>(reply_code::launchFailed), completion);
    return;
  }
  report(waitForCompletion() ? (*child)->waitUntilExit() : 0, completion);
  run->synchronousReport.set_value();
}

/// None when a Python script's path has gone since its extension was read.
std::optional<TlvCoreScript::StringList> TlvCoreScript::argumentVector() const {
  StringList inShebang = argumentsInShebang().value_or(StringList());
  const StringList user = ScriptArguments::userParameters(parameters());
  const auto extension = scriptExtension();
  if (extension == Extension::python) {
    const auto file = path();
    if (!file) return std::nullopt;
    return ScriptArguments::pythonFile(std::move(inShebang), *file, user);
  }
  if (const auto file = path()) return ScriptArguments::otherFile(std::move(inShebang), user, *file);
  return ScriptArguments::withoutFile(std::move(inShebang), user, arguments().value_or(StringList()));
}

ChildProcessTask TlvCoreScript::makeTask(const std::string& tool, StringList arguments,
                                         const std::shared_ptr<Run>& run) {
  const auto self = shared_from_this();
  const auto logOutput = [self](std::span<const std::byte> data) { self->writeToLog(data); };
  return {.launchPath = tool,
          .arguments = std::move(arguments),
          .onStandardOutput = logOutput,
          .onStandardError = logOutput,
          .onTermination = [self, run](int status) {
            run->wasReported.wait();
            self->report(status, run->completion);
          }};
}

void TlvCoreScript::report(int status, const Completion& completion) {
  log(status);
  completion(static_cast<ReplyCode>(status));
}

void TlvCoreScript::log(int status) {
  if (status == 0) {
    writeToLog(HelperLines::scriptSucceeded(pathOrEmpty()));
  } else {
    writeToLog(HelperLines::scriptFailed(pathOrEmpty(), status));
  }
}

}  // namespace wicket
