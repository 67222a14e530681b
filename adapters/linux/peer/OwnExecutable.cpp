// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/peer/OwnExecutable.h"

#include <filesystem>
#include <sys/stat.h>
#include <system_error>

namespace wicket::linux_adapter {
namespace {

constexpr char running[] = "/proc/self/exe";

}  // namespace

OwnExecutable::OwnExecutable() {
  std::error_code error;
  path_ = std::filesystem::read_symlink(running, error);
  struct stat status{};
  if (::stat(running, &status) != 0) return;
  device_ = status.st_dev;
  inode_ = status.st_ino;
}

bool OwnExecutable::isInstalled() const {
  struct stat status{};
  return ::stat(path_.c_str(), &status) == 0 && status.st_dev == device_ && status.st_ino == inode_;
}

}  // namespace wicket::linux_adapter
