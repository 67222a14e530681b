// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <chrono>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include "companion/command/Commands.h"
#include "companion/command/ExitStatus.h"
#include "companion/command/Interruption.h"

namespace wicket::companion::command {

namespace {

/// The first line of what the user types, as far as it is needed; empty at the end of the input.
std::string answer(int cancelDescriptor) {
  std::string line;
  while (true) {
    pollfd watched[] = {{STDIN_FILENO, POLLIN, 0}, {cancelDescriptor, POLLIN, 0}};
    if (::poll(watched, 2, -1) > 0 && watched[1].revents != 0) return {};
    if (watched[0].revents == 0) continue;
    char character = 0;
    if (::read(STDIN_FILENO, &character, 1) <= 0) return {};
    if (character == '\n') return line;
    line += character;
  }
}

bool userAgrees(Context& context, bool all) {
  const std::string what = all ? "the helper and all installed scripts" : "the helper";
  context.output.printQuestion("Remove " + what + " from this machine? [y/N] ");
  const std::string text = answer(context.connection.cancelDescriptor);
  return text == "y" || text == "Y" || text == "yes" || text == "Yes";
}

bool exists(const std::string& path) {
  struct stat status{};
  return ::lstat(path.c_str(), &status) == 0;
}

int carryOut(Context& context, bool all) {
  ConnectOptions options = context.connection;
  // A large folder may take as long as the connection lives, and that ends the waiting.
  options.timeLimit = std::chrono::minutes(1);
  auto helper = HelperConnection::connect(options);
  if (!helper) return context.report(helper.error());
  helper->onLogLine([&context](std::string_view text) { context.output.printHelperLine(text); });
  if (const auto sent = helper->uninstall(all); !sent) return context.report(sent.error());
  // The request has no reply. A later call is answered after it has been carried out, unless the helper is
  // ended before that, which is just as well.
  const auto barrier = helper->getVersion();
  if (!barrier && barrier.error() != CallError::connectionCut) return context.report(barrier.error());
  if (all && exists(context.scriptFolder)) {
    context.output.printProblem(
        {"The script folder " + context.scriptFolder + " is still there", "Ask an administrator to remove it"});
    return exit_status::failure;
  }
  context.output.printLine(all ? "All scripts are removed; the helper is removing itself."
                               : "The helper is removing itself; the installed scripts stay.");
  return exit_status::success;
}

}  // namespace

int uninstall(Context& context, const UninstallOptions& options) {
  if (!options.assumeYes && !context.inputIsTerminal) {
    context.output.printProblem(
        {"Nothing was removed, because there is no terminal to ask on", "Add --yes if you are sure"});
    return exit_status::failure;
  }
  if (!options.assumeYes && !userAgrees(context, options.all)) {
    if (const int signal = Interruption::caughtSignal(); signal != 0) return exit_status::ofSignal(signal);
    context.output.printLine("Nothing was removed.");
    return exit_status::failure;
  }
  return carryOut(context, options.all);
}

}  // namespace wicket::companion::command
