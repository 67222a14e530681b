// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/command/Problems.h"

#include <cstring>

#include "protocol/HelperLines.h"
#include "protocol/Identifier.h"
#include "wire/UserLimits.h"

namespace wicket::companion::command {

namespace {

/// The helper's unit of a kind.
std::string unit(const char* kind) { return std::string(Identifier::privilegedHelper) + "." + kind; }

std::string lookAtTheHelper() {
  return "See what it does with: systemctl status " + unit("service") + ". Then try again";
}

Problem interactionImpossible(std::optional<PolkitTextAgent::Absence> absence) {
  constexpr char start[] = "Nothing was installed, because nobody could be asked for a password (code 156): ";
  using enum PolkitTextAgent::Absence;
  if (absence == noTerminal) {
    return {std::string(start) + "standard input is no terminal and no polkit agent runs in this session",
            "Run the command in a terminal"};
  }
  if (absence == notInstalled) {
    return {
        std::string(start) + PolkitTextAgent::usualExecutable + " is missing and no polkit agent runs in this session",
        "Install the package polkitd"};
  }
  const char* const reason = absence ? "the polkit agent for this terminal could not be started"
                                     : "polkit does not use the agent that runs on this terminal";
  return {std::string(start) + reason, "Check that polkit runs, with: systemctl status polkit"};
}

}  // namespace

Problem problemWith(const ConnectionError& error, const std::string& socketPath) {
  switch (error.failure) {
    case ConnectionFailure::notInstalled:
      return {"The helper is not installed: there is no socket " + socketPath,
              "Install it, or start " + unit("socket") + " with systemctl"};
    case ConnectionFailure::notPermitted:
      return {"This process may not connect to the helper at " + socketPath,
              "Use the installed wicket command, which belongs to the socket's group"};
    case ConnectionFailure::notListening:
      return {"Nobody listens at the helper's socket " + socketPath, "Restart " + unit("socket") + " with systemctl"};
    case ConnectionFailure::timedOut:
      return {"The helper at " + socketPath + " takes no connections", lookAtTheHelper()};
    case ConnectionFailure::failed:
      break;
  }
  return {"The helper at " + socketPath + " cannot be reached: " + std::strerror(error.systemError), "Try again"};
}

Problem problemWith(CallError error) {
  const auto most = [](const wire::UserLimit& limit) { return std::to_string(limit.most); };
  switch (error) {
    case CallError::tooManyConnections:
      return {"You have " + most(wire::openConnections) +
                  " connections to the helper open, which is as many as a user may have",
              "Let other wicket commands end, then try again"};
    case CallError::tooManyQuestions:
      return {"You have " + most(wire::openQuestions) +
                  " installations waiting for their consent, which is as many as a user may have",
              "Answer or end them, then try again"};
    case CallError::tooManyScripts:
      return {"You have " + most(wire::runningScripts) + " scripts running, which is as many as a user may have",
              "Wait until one has ended, then try again"};
    case CallError::connectionCut:
      return {"The helper cut the connection before it answered",
              "See why it would refuse this command with: wicket doctor"};
    case CallError::rejected:
      return {"The helper did not understand the request", "Install the same version of wicket and of its helper"};
    case CallError::invalidArgument:
      return {"The request holds a text that cannot be sent", "Use a name or path of plain letters"};
    case CallError::timedOut:
      return {"The helper does not answer", lookAtTheHelper()};
    case CallError::interrupted:
      break;
  }
  return {"Interrupted before the helper answered", "Run the command again"};
}

Problem problemWithConsent(std::string_view message, std::optional<PolkitTextAgent::Absence> absence) {
  const auto says = [&](std::string_view part) { return message.find(part) != std::string_view::npos; };
  if (says(HelperLines::interactionImpossible)) return interactionImpossible(absence);
  if (says(HelperLines::canceled)) {
    return {"Nothing was installed, because the password prompt was dismissed (code 156)", "Run the command again"};
  }
  if (says(HelperLines::denied)) {
    return {"Nothing was installed, because the authorization was denied (code 156)",
            "Run the command again with an administrator's password"};
  }
  return {"Nothing was installed, because the authorization could not be checked (code 156)",
          "Check that polkit runs, with: systemctl status polkit"};
}

}  // namespace wicket::companion::command
