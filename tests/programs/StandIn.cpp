// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
//
// A client that does what its arguments say, step by step, and then nothing until its standard input ends.
// It has no library of the project in it and no sanitizer, so that it can be installed with the set-group bit.

#include "tests/programs/Steps.h"

int main(int count, char** arguments) {
  using namespace wicket::stand_in;
  runSteps(arguments + 1, arguments + count);
  for (;;) waitForInput(nullptr);
}
