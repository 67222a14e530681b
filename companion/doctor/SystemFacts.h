// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

#include "companion/doctor/FileFacts.h"
#include "companion/doctor/SignatureFacts.h"
#include "resources/BuildValues.h"
#include "wire/BusNames.h"

namespace wicket::companion::doctor {

/// Everything that decides whether the helper lets this program in, gathered before it is judged. Errors are error
/// numbers, 0 where what they stand for is known.
struct SystemFacts {
  struct Process {
    gid_t startedWithGroup = 0;      ///< its effective group when it began
    std::vector<gid_t> ownGroups{};  ///< those that no executable has given it: the real and the supplementary ones
    int error = 0;                   ///< why the next two are not known
    bool hasNoNewPrivileges = false;
    pid_t tracer = 0;  ///< 0: nobody
    bool isInFirstUserNamespace = true;
    uid_t user = 0;
    uid_t shownOwner = 0;  ///< to whom the kernel says that it belongs
  };
  struct Program {
    FileFacts file{};
    bool mountIgnoresSetGroup = false;
    bool hasAccessControlList = false;  ///< which can let others change it, whatever its mode says
    SignatureFacts signature{};
    bool hasChanged = false;  ///< while it was looked at
  };
  struct Kernel {
    int error = 0;                 ///< why the rest is not known
    bool opensProcesses = true;    ///< pidfd_open(), from Linux 5.3 on
    bool namesPeerProcess = true;  ///< SO_PEERPIDFD, from Linux 6.5 on
  };
  struct Polkit {
    FileFacts action{};
    int busError = 0;     ///< why the next is not known
    bool isOnBus = true;  ///< its daemon runs, or can be started by the message bus
  };

  Process process{};
  Program program{};
  Kernel kernel{};
  Polkit polkit{};
  /// The group of the program's file and of the socket.
  std::string groupName{resources::BuildValues::companionGroup()};
  int groupError = 0;                       ///< why the next is not known
  std::optional<gid_t> group{};             ///< its number, when there is one; never that of root
  int groupHoldersError = 0;                ///< why the next are not known
  std::vector<std::string> groupHolders{};  ///< users who have it as members or as their own
  FileFacts socket{};
  FileFacts helper{};
  int runningHelperError = 0;  ///< why the next is not known
  bool helperIsStale = false;  ///< the one that runs began before the installed one was there

  /// Looks at the real system. Starts nothing and changes nothing.
  [[nodiscard]] static SystemFacts gather(gid_t startedWithGroup, const std::string& socketPath = wire::socketPath);
};

}  // namespace wicket::companion::doctor
