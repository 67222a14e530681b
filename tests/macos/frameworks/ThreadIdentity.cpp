// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <sys/kauth.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

int become(uid_t user, gid_t group) {
  // The library's own functions would change all threads. The group first: who is no longer root may not.
  if (user == 0)
    return ::syscall(SYS_setresuid, -1, 0, -1) == 0 ? static_cast<int>(::syscall(SYS_setresgid, -1, group, -1)) : -1;
  return ::syscall(SYS_setresgid, -1, group, -1) == 0 ? static_cast<int>(::syscall(SYS_setresuid, -1, user, -1)) : -1;
}

}  // namespace

int pthread_setugid_np(uid_t user, gid_t group) {
  return user == KAUTH_UID_NONE && group == KAUTH_GID_NONE ? become(0, 0) : become(user, group);
}
