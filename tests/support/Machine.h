// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace wicket::support {

/// What a test may need, and a kernel, or whoever made the container that a test runs in, may forbid.
enum class Need {
  root,
  mountNamespace,     ///< unshare(CLONE_NEWNS), and mounting in it
  userNamespace,      ///< unshare(CLONE_NEWUSER) by an ordinary user, which nobody may in a chroot
  privilegesOfFiles,  ///< set-user and set-group bits, which no_new_privs takes the effect from
  seccompListener,    ///< a filter of system calls whose decisions another process makes
  takenDescriptor,    ///< pidfd_getfd() on a process of root's
  tracing,            ///< ptrace() of a process of root's
};

/// The one place that knows what this machine forbids: tries it, once, in a process of its own. None where it is
/// allowed; otherwise the reason, which is the same for each test that needs it.
[[nodiscard]] const std::optional<std::string>& refusalOf(Need need);

/// Whether a test that cannot run here is a failure: with CI=true in the environment.
[[nodiscard]] bool mustNotSkip();

}  // namespace wicket::support

/// First in a test, or in its fixture's SetUp: skips it where the machine forbids what it needs.
#define WICKET_NEEDS(need)                                                           \
  do {                                                                               \
    if (const auto& refusal = ::wicket::support::refusalOf(need)) {                  \
      if (::wicket::support::mustNotSkip()) FAIL() << "must not skip: " << *refusal; \
      GTEST_SKIP() << *refusal;                                                      \
    }                                                                                \
  } while (false)
