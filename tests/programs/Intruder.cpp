// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
//
// A library that leaves a mark as soon as a process has loaded it, and does there what WICKET_STEPS says, with blanks
// between the words, before the program itself begins.

#include <cstdlib>
#include <fcntl.h>
#include <sstream>
#include <unistd.h>
#include <vector>

#include "tests/programs/Steps.h"

namespace {

void doSteps(const char* text) {
  std::vector<std::string> words;
  std::istringstream stream(text);
  for (std::string word; stream >> word;) words.push_back(word);
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  wicket::stand_in::runSteps(pointers.data(), pointers.data() + pointers.size());
}

struct Mark {
  Mark() {
    const int file = ::open("/var/tmp/intruder.was.here", O_CREAT | O_WRONLY | O_CLOEXEC, 0666);
    if (file >= 0) ::close(file);
    if (const char* const steps = std::getenv("WICKET_STEPS")) doSteps(steps);
  }
};

const Mark mark;

}  // namespace

/// The loader asks it of libraries in LD_AUDIT, and keeps only those that name a version.
extern "C" unsigned la_version(unsigned version) { return version; }
