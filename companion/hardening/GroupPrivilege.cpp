// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/hardening/GroupPrivilege.h"

#include <string_view>
#include <sys/prctl.h>
#include <unistd.h>

namespace wicket::companion {

namespace {

constexpr auto unchanged = static_cast<gid_t>(-1);
constexpr int failureStatus = 125;

/// Nothing may run on with a group that it should no longer have, not even the clean-up.
void require(bool condition) {
  if (condition) return;
  constexpr std::string_view message =
      "wicket: The group of the program cannot be put aside. Install the program again.\n";
  static_cast<void>(!::write(STDERR_FILENO, message.data(), message.size()));
  ::_exit(failureStatus);
}

bool makeUnreadable() { return ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) == 0; }

}  // namespace

GroupPrivilege::GroupPrivilege() {
  gid_t saved = 0;
  require(::getresgid(&own_, &group_, &saved) == 0);
  // Without another group there is nothing to put aside, and in a user namespace that does not know the
  // user's own one no group could be set, either.
  isGivenUp_ = group_ == own_ && saved == own_;
  if (!isGivenUp_) putAside();
  require(makeUnreadable());
}

GroupPrivilege::~GroupPrivilege() { giveUp(); }

void GroupPrivilege::putAside() const {
  require(::setresgid(unchanged, own_, unchanged) == 0 && ::getegid() == own_ && makeUnreadable());
}

void GroupPrivilege::giveUp() {
  if (isGivenUp_) return;
  isGivenUp_ = true;
  // The group is out of effect already, so this leaves the process unreadable all the time: otherwise it could be
  // taken over, together with its connection, before it is made so again.
  gid_t real = unchanged;
  gid_t effective = unchanged;
  gid_t saved = unchanged;
  require(::setresgid(own_, own_, own_) == 0 && ::getresgid(&real, &effective, &saved) == 0);
  require(real == own_ && effective == own_ && saved == own_ && makeUnreadable());
  // Only root may take any group, with or without this program.
  if (wasGiven() && ::geteuid() != 0) require(::setresgid(unchanged, group_, unchanged) != 0);
}

GroupPrivilege::InEffect::InEffect(GroupPrivilege& privilege) : privilege_(privilege) {
  if (privilege_.isGivenUp_) return;
  // Where the kernel refuses, so does the helper, and says what is missing.
  static_cast<void>(!::setresgid(unchanged, privilege_.group_, unchanged));
  require(makeUnreadable());
}

GroupPrivilege::InEffect::~InEffect() {
  if (!privilege_.isGivenUp_) privilege_.putAside();
}

}  // namespace wicket::companion
