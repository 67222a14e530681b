// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <sys/types.h>

namespace wicket::companion {

/// The group that a program got from its set-group file: it lets the program connect to the helper and is
/// good for nothing else, so the program works with its user's own group, has the other one during the call
/// that connects, and gives it up for good right after that. Without a set-group file all of this changes
/// nothing.
///
/// The kernel may make a process readable again whenever its groups change, depending on fs.suid_dumpable;
/// each operation here ends with a process that is not. A process that could not get rid of the group ends
/// at once. One object per process, in its first line; not while other threads run.
class GroupPrivilege {
 public:
  /// Puts the group aside.
  GroupPrivilege();
  GroupPrivilege(const GroupPrivilege&) = delete;
  GroupPrivilege& operator=(const GroupPrivilege&) = delete;
  /// Gives it up for good.
  ~GroupPrivilege();

  /// The group that the process was started with, its user's own where there was no other.
  [[nodiscard]] gid_t group() const { return group_; }
  /// Whether it is another one than the user's own.
  [[nodiscard]] bool wasGiven() const { return group_ != own_; }

  /// The group is in effect as long as this object lives. Without effect once it has been given up.
  class InEffect {
   public:
    explicit InEffect(GroupPrivilege& privilege);
    InEffect(const InEffect&) = delete;
    InEffect& operator=(const InEffect&) = delete;
    ~InEffect();

   private:
    GroupPrivilege& privilege_;
  };

  /// Makes sure that it cannot come back.
  void giveUp();

 private:
  void putAside() const;

  gid_t own_ = 0;
  gid_t group_ = 0;
  bool isGivenUp_ = false;
};

}  // namespace wicket::companion
