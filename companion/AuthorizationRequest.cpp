// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/AuthorizationRequest.h"

#include <cerrno>
#include <unistd.h>

#include "base/system/linux/Pidfd.h"
#include "base/system/linux/ProcessFiles.h"

namespace wicket::companion {

using linux_adapter::Pidfd;
using linux_adapter::ProcessFiles;

std::expected<AuthorizationRequest, int> AuthorizationRequest::forThisProcess() {
  const auto startTime = ProcessFiles::ofThisProcess().startTime();
  if (!startTime) return std::unexpected(errno);
  // The real user is the one whom polkit knows as the process's owner.
  return AuthorizationRequest(wire::AuthorizationToken{static_cast<std::uint32_t>(::getpid()), ::getuid(), *startTime,
                                                       Pidfd::open(::getpid()).inode()});
}

}  // namespace wicket::companion
