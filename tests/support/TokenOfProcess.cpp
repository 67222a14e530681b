// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/support/TokenOfProcess.h"

#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <unistd.h>

#include "wire/AuthorizationToken.h"

namespace wicket::support {
namespace {

std::uint64_t startTimeOf(const std::string& folder) {
  std::ifstream file(folder + "/stat");
  const std::string line{std::istreambuf_iterator<char>(file), {}};
  // The name in parentheses may hold blanks; field 3 follows it and field 22 is wanted.
  std::istringstream rest(line.substr(line.rfind(')') + 1));
  std::string field;
  for (int i = 3; i <= 22; ++i) rest >> field;
  return std::stoull(field);
}

/// 0 on kernels on which all pidfds share one inode.
std::uint64_t pidfdInodeOf(pid_t pid) {
  constexpr long pidFilesystem = 0x50494446;
  const int pidfd = static_cast<int>(::syscall(SYS_pidfd_open, pid, 0));
  struct statfs filesystem{};
  struct stat status{};
  const bool isUnique =
      ::fstatfs(pidfd, &filesystem) == 0 && filesystem.f_type == pidFilesystem && ::fstat(pidfd, &status) == 0;
  ::close(pidfd);
  return isUnique ? status.st_ino : 0;
}

}  // namespace

std::vector<std::byte> tokenOfProcess(pid_t pid) {
  const std::string folder = "/proc/" + std::to_string(pid);
  struct stat owner{};
  ::stat(folder.c_str(), &owner);
  const wire::AuthorizationToken token{static_cast<std::uint32_t>(pid), owner.st_uid, startTimeOf(folder),
                                       pidfdInodeOf(pid)};
  const auto bytes = token.serialize();
  return {bytes.begin(), bytes.end()};
}

}  // namespace wicket::support
