// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/peer/ExecutableFile.h"

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/statvfs.h>
#include <sys/xattr.h>

#include "base/system/linux/Shortage.h"

namespace wicket::linux_adapter {
namespace {

std::string linkTo(int descriptor) { return "/proc/self/fd/" + std::to_string(descriptor); }

/// The set-group bit means that only together with the group's right to execute.
bool givesItsGroup(mode_t mode) { return (mode & (S_ISGID | S_IXGRP)) == (S_ISGID | S_IXGRP); }

bool isTrustworthy(const struct stat& status, gid_t group) {
  if (!S_ISREG(status.st_mode) || status.st_uid != 0 || status.st_gid != group || status.st_nlink < 1) return false;
  return givesItsGroup(status.st_mode) && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

/// Otherwise the file may have got its owner and bits where they mean nothing.
bool bitsCountOnFileSystemOf(int descriptor) {
  struct statvfs fileSystem{};
  return ::fstatvfs(descriptor, &fileSystem) == 0 && (fileSystem.f_flag & ST_NOSUID) == 0;
}

/// The mode does not show who else may write.
bool hasAccessControlList(const std::string& path) {
  if (::getxattr(path.c_str(), "system.posix_acl_access", nullptr, 0) >= 0) return true;
  return errno != ENODATA && errno != EOPNOTSUPP;
}

std::nullopt_t unseen() {
  ShortageWatch::note();
  return std::nullopt;
}

}  // namespace

std::optional<ExecutableFile> ExecutableFile::ofProcess(const ProcessFiles& process, gid_t group) {
  // Holds the file without opening it, so that no device and no pipe notices, and nothing waits.
  const Descriptor held(::open(process.path("exe").c_str(), O_PATH | O_CLOEXEC));
  struct stat status{};
  if (!held.isOpen() || ::fstat(held.get(), &status) != 0) return unseen();
  const std::string path = linkTo(held.get());
  if (!isTrustworthy(status, group) || !bitsCountOnFileSystemOf(held.get()) || hasAccessControlList(path)) {
    return std::nullopt;
  }
  Descriptor opened(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!opened.isOpen()) return unseen();
  ExecutableFile file(std::move(opened), status);
  return file.isUnchanged() ? std::optional(std::move(file)) : std::nullopt;
}

bool ExecutableFile::isUnchanged() const {
  struct stat now{};
  return ::fstat(descriptor_.get(), &now) == 0 && FileIdentity::of(now) == FileIdentity::of(status_);
}

}  // namespace wicket::linux_adapter
