// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "base/system/linux/Pidfd.h"

#include <cerrno>
#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/vfs.h>

#include "base/system/linux/Shortage.h"

namespace wicket::linux_adapter {

/// The C library of Debian 12 declares its wrapper without C linkage.
Pidfd Pidfd::open(pid_t pid) {
  Pidfd pidfd(Descriptor(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0))));
  if (!pidfd.isOpen()) errno = ShortageWatch::note();
  return pidfd;
}

bool Pidfd::isAlive() const {
  pollfd end{descriptor_.get(), POLLIN, 0};
  return ::poll(&end, 1, 0) == 0;
}

/// Zero where pidfds are no files of their own: all of them share one inode there, which names nobody.
std::uint64_t Pidfd::inode() const {
  constexpr decltype(std::declval<struct statfs>().f_type) pidFileSystem = 0x50494446;
  struct statfs fileSystem{};
  struct stat status{};
  if (::fstatfs(descriptor_.get(), &fileSystem) != 0 || fileSystem.f_type != pidFileSystem) return 0;
  return ::fstat(descriptor_.get(), &status) == 0 ? status.st_ino : 0;
}

}  // namespace wicket::linux_adapter
