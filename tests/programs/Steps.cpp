// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/programs/Steps.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace wicket::stand_in {
namespace {

struct Step {
  std::string_view name;
  int argumentCount;
  void (*run)(char** arguments);
};

constexpr std::array steps{
    Step{"connect", 1, connectTo},
    Step{"greet", 0, greet},
    Step{"send", 1, send},
    Step{"send-part", 2, sendPart},
    Step{"send-from-child", 1, sendFromChild},
    Step{"send-with-descriptor", 1, sendWithDescriptor},
    Step{"request", 1, request},
    Step{"hear", 0, hear},
    Step{"give-connection", 1, giveConnection},
    Step{"take-connection", 1, takeConnection},
    Step{"flood", 3, flood},
    Step{"become", 2, become},
    Step{"become-with", 4, becomeWith},
    Step{"exchange-groups", 0, exchangeGroups},
    Step{"drop-group", 0, dropGroup},
    Step{"no-new-privileges", 0, noNewPrivileges},
    Step{"user-namespace", 0, userNamespace},
    Step{"dumpable", 0, dumpable},
    Step{"undumpable", 0, undumpable},
    Step{"leave-to-child", 0, leaveToChild},
    Step{"fork", 0, fork},
    Step{"leave-group", 0, leaveGroup},
    Step{"fork-with-number", 1, forkWithNumber},
    Step{"fork-traced", 0, forkTraced},
    Step{"fork-altered", 2, forkAltered},
    Step{"intrude", 1, intrude},
    Step{"environment", 1, environment},
    Step{"execute", 1, execute},
    Step{"execute-from-memory", 1, executeFromMemory},
    Step{"say", 1, [](char** arguments) { say(arguments[0]); }},
    Step{"wait", 0, waitForInput},
    Step{"end", 0, [](char** /*arguments*/) { std::_Exit(EXIT_SUCCESS); }},
};

}  // namespace

void require(bool condition, const char* what) {
  if (condition) return;
  std::perror(what);
  std::_Exit(EXIT_FAILURE);
}

void say(const std::string& line) {
  std::puts(line.c_str());
  std::fflush(stdout);
}

void runSteps(char** next, char** end) {
  while (next < end) {
    const auto* const step = std::ranges::find(steps, std::string_view(*next), &Step::name);
    require(step != steps.end(), *next);
    char** const itsArguments = next + 1;
    next = itsArguments + step->argumentCount;
    require(next <= end, "an argument is missing");
    step->run(itsArguments);
  }
}

}  // namespace wicket::stand_in
