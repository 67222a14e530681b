// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/support/FileGroup.h"

#include <cstdlib>
#include <sys/syscall.h>
#include <unistd.h>

namespace wicket::support {
namespace {

constexpr gid_t unchanged = static_cast<gid_t>(-1);

struct Groups {
  gid_t real = 0;
  gid_t effective = 0;
  gid_t saved = 0;

  Groups() {
    if (::getresgid(&real, &effective, &saved) != 0) std::abort();
  }
};

/// The library's call would change all threads at once.
void takeOn(gid_t group) {
  if (::syscall(SYS_setresgid, unchanged, group, unchanged) != 0) std::abort();
}

}  // namespace

FileGroup::FileGroup() : before_(Groups().effective) {
  if (isGiven()) takeOn(Groups().saved);
}

FileGroup::~FileGroup() { takeOn(before_); }

bool FileGroup::isGiven() {
  const Groups groups;
  return groups.saved != groups.real;
}

void FileGroup::putAside() { takeOn(Groups().real); }

}  // namespace wicket::support
