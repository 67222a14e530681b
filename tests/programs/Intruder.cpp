// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
//
// A library that leaves a mark as soon as a process has loaded it.

#include <fcntl.h>
#include <unistd.h>

namespace {

struct Mark {
  Mark() {
    const int file = ::open("/var/tmp/intruder.was.here", O_CREAT | O_WRONLY | O_CLOEXEC, 0666);
    if (file >= 0) ::close(file);
  }
};

const Mark mark;

}  // namespace

/// The loader asks it of libraries in LD_AUDIT, and keeps only those that name a version.
extern "C" unsigned la_version(unsigned version) { return version; }
