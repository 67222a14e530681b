// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/AuthorizationRequest.h"

#include <cerrno>
#include <charconv>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <unistd.h>

#include "base/system/Descriptor.h"

namespace wicket::companion {

namespace {

/// Field 22 of a line of /proc/PID/stat. The second field is the command's name in parentheses and may
/// hold anything, so counting starts behind the last parenthesis, at field 3.
std::expected<std::uint64_t, int> startTimeIn(std::string_view line) {
  const std::size_t nameEnd = line.rfind(')');
  if (nameEnd == std::string_view::npos) return std::unexpected(EPROTO);
  std::string_view rest = line.substr(nameEnd + 1);
  for (int field = 3; field <= 22; ++field) {
    const std::size_t space = rest.find(' ');
    if (space == std::string_view::npos) return std::unexpected(EPROTO);
    rest.remove_prefix(space + 1);
  }
  std::uint64_t ticks = 0;
  if (std::from_chars(rest.data(), rest.data() + rest.size(), ticks).ec != std::errc()) return std::unexpected(EPROTO);
  return ticks;
}

std::expected<std::uint64_t, int> ownStartTime() {
  const Descriptor file(::open("/proc/self/stat", O_RDONLY | O_CLOEXEC));
  if (!file.isOpen()) return std::unexpected(errno);
  std::array<char, 4096> buffer{};
  const ssize_t count = ::read(file.get(), buffer.data(), buffer.size());
  if (count < 0) return std::unexpected(errno);
  return startTimeIn({buffer.data(), static_cast<std::size_t>(count)});
}

/// 0 where pidfds are no files of their own: all of them share one inode there, which names nobody.
std::uint64_t ownPidfdInode() {
  constexpr decltype(std::declval<struct statfs>().f_type) pidFilesystem = 0x50494446;
  // The header of this call lacks C linkage in glibc 2.36.
  const Descriptor pidfd(static_cast<int>(::syscall(SYS_pidfd_open, ::getpid(), 0U)));
  struct statfs filesystem{};
  struct stat status{};
  if (!pidfd.isOpen() || ::fstatfs(pidfd.get(), &filesystem) != 0 || filesystem.f_type != pidFilesystem) return 0;
  return ::fstat(pidfd.get(), &status) == 0 ? status.st_ino : 0;
}

}  // namespace

std::expected<AuthorizationRequest, int> AuthorizationRequest::forThisProcess() {
  const auto startTime = ownStartTime();
  if (!startTime) return std::unexpected(startTime.error());
  // The real user is the one whom polkit knows as the process's owner.
  return AuthorizationRequest(
      wire::AuthorizationToken{static_cast<std::uint32_t>(::getpid()), ::getuid(), *startTime, ownPidfdInode()});
}

}  // namespace wicket::companion
