// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <sys/types.h>

#define KAUTH_UID_NONE (~(uid_t)0 - 100)
#define KAUTH_GID_NONE (~(gid_t)0 - 100)

extern "C" {
/// Of unistd.h there. For this thread alone, as on macOS; only root may.
int pthread_setugid_np(uid_t user, gid_t group);
}
