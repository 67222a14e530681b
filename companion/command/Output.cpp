// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/command/Output.h"

#include <cerrno>
#include <cstdlib>
#include <poll.h>
#include <unistd.h>

#include "companion/command/Interruption.h"

namespace wicket::companion::command {

namespace {

bool isSet(const char* variable) {
  const char* value = std::getenv(variable);
  return value != nullptr && *value != '\0';
}

bool terminalHasColours() {
  const char* terminal = std::getenv("TERM");
  return !isSet("NO_COLOR") && terminal != nullptr && std::string_view(terminal) != "dumb";
}

constexpr std::string_view red = "\033[1;31m";
constexpr std::string_view yellow = "\033[1;33m";
constexpr std::string_view green = "\033[32m";
constexpr std::string_view plain = "\033[0m";

}  // namespace

Output::Output(int standardOutput, int standardError)
    : Output(standardOutput, standardError,
             {::isatty(standardOutput) == 1, ::isatty(standardError) == 1, terminalHasColours()}) {}

Output::Output(int standardOutput, int standardError, Terminals terminals)
    : standardOutput_(standardOutput), standardError_(standardError), terminals_(terminals) {}

void Output::printBytes(std::string_view bytes) {
  if (bytes.empty()) return;
  if (terminals_.standardOutput) {
    write(standardOutput_, scriptText_.visible(bytes));
  } else {
    write(standardOutput_, bytes);
  }
  lineIsOpen_ = bytes.back() != '\n';
}

void Output::printLine(std::string_view line) {
  write(standardOutput_, std::string(line) + "\n");
  lineIsOpen_ = false;
}

void Output::printHelperLine(std::string_view line) {
  finishLine();
  // A script may print what looks like one.
  TerminalText text;
  write(standardError_, (terminals_.standardError ? text.visible(line) + text.finish() : std::string(line)) + "\n");
}

void Output::printProblem(const Problem& problem) { printMarked("wicket:", red, problem); }

void Output::printWarning(const Problem& problem) { printMarked("wicket: warning:", yellow, problem); }

void Output::printCheck(bool isWell, std::string_view statement, std::string_view nextStep) {
  std::string line = isWell ? "ok     " : "problem";
  if (terminals_.standardOutput && terminals_.colours) {
    line = std::string(isWell ? green : red) + line + std::string(plain);
  }
  line += "  " + std::string(statement) + ".";
  if (!nextStep.empty()) line += "\n         Next: " + std::string(nextStep) + ".";
  printLine(line);
}

void Output::printQuestion(std::string_view question) { write(standardError_, question); }

void Output::finishLine() {
  // Only a terminal shows both streams on one line; a file gets the script's bytes and nothing else.
  if (lineIsOpen_ && terminals_.standardOutput) write(standardOutput_, scriptText_.finish() + "\n");
  lineIsOpen_ = false;
}

void Output::printMarked(std::string_view mark, std::string_view colour, const Problem& problem) {
  finishLine();
  std::string line(mark);
  if (terminals_.standardError && terminals_.colours) line = std::string(colour) + line + std::string(plain);
  line += " " + problem.cause + ".";
  if (!problem.nextStep.empty()) line += " " + problem.nextStep + ".";
  write(standardError_, line + "\n");
}

void Output::write(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
    if (written >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno == EAGAIN) {
      // Whoever shares the terminal may have made it non-blocking.
      pollfd watched{descriptor, POLLOUT, 0};
      static_cast<void>(::poll(&watched, 1, -1));
    } else if (errno != EINTR) {
      failed_ = failed_ || descriptor == standardOutput_;
      return;
    }
    if (Interruption::caughtSignal() != 0 && descriptor == standardOutput_) return;
  }
}

}  // namespace wicket::companion::command
