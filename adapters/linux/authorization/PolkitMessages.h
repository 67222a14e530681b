// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>

#include "adapters/linux/peer/ProcessIdentity.h"
#include "base/system/linux/SdHandle.h"
#include "helper/platform/AuthorizationServices.h"

namespace wicket::linux_adapter {

/// What polkit's interface on the bus looks like: the calls that are made to it, null when one cannot be made, and what
/// its replies mean.
class PolkitMessages {
 public:
  /// For the version of the authority that answers now.
  [[nodiscard]] static SdHandle<sd_bus_message> versionCall(sd_bus* bus);
  /// Whether a version looks a process up by its descriptor. Older ones do so by its number and start time alone.
  [[nodiscard]] static bool knowsPidfds(sd_bus_message* versionReply);

  struct Check {
    const ProcessIdentity& subject;
    const std::string& action;
    const AuthorizationDetails& details;
    const std::string& cancellationId;
    bool withPidfd;
  };
  /// Whether the process may do this, which may put a question to its user.
  [[nodiscard]] static SdHandle<sd_bus_message> checkCall(sd_bus* bus, const Check& check);
  [[nodiscard]] static AuthorizationStatus statusOf(sd_bus_message* checkReply);
  [[nodiscard]] static AuthorizationStatus statusOf(const sd_bus_error& error);

  /// Takes back the check of this name, which has to come from the same connection. Nobody waits for the reply.
  [[nodiscard]] static SdHandle<sd_bus_message> cancelCall(sd_bus* bus, const std::string& cancellationId);
};

}  // namespace wicket::linux_adapter
