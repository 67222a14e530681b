// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/support/TokenOfProcess.h"

#include <string>
#include <sys/stat.h>

#include "base/system/linux/Pidfd.h"
#include "base/system/linux/ProcessFiles.h"
#include "wire/AuthorizationToken.h"

namespace wicket::support {

using linux_adapter::Pidfd;
using linux_adapter::ProcessFiles;

std::vector<std::byte> tokenOfProcess(pid_t pid) {
  const std::string folder = "/proc/" + std::to_string(pid);
  struct stat owner{};
  ::stat(folder.c_str(), &owner);
  const wire::AuthorizationToken token{static_cast<std::uint32_t>(pid), owner.st_uid,
                                       ProcessFiles(pid).startTime().value(), Pidfd::open(pid).inode()};
  const auto bytes = token.serialize();
  return {bytes.begin(), bytes.end()};
}

}  // namespace wicket::support
