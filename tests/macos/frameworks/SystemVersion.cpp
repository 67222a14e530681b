// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/macos/frameworks/SystemVersion.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace wicket::frameworks {
namespace {

constexpr int versionNumber(int major, int minor) { return major * 1000 + minor; }

std::atomic<int> systemVersion = versionNumber(14, 0);

}  // namespace

void setSystemVersion(int major, int minor) { systemVersion = versionNumber(major, minor); }

bool systemIsAtLeast(const char* platformAndVersion) {
  int major = 0;
  int minor = 0;
  if (std::sscanf(platformAndVersion, "macOS %d.%d", &major, &minor) < 1) {
    std::fprintf(stderr, "@available asks for \"%s\", which is no version of macOS\n", platformAndVersion);
    std::abort();
  }
  return systemVersion >= versionNumber(major, minor);
}

}  // namespace wicket::frameworks
