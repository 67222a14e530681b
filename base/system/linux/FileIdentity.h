// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <compare>
#include <cstdint>
#include <sys/stat.h>
#include <sys/types.h>

namespace wicket::linux_adapter {

/// A file in the state in which it was looked at. Whoever writes to it or changes its attributes gives
/// it another one: the kernel sets the time of change and nobody can set it back, short of the clock.
struct FileIdentity {
  dev_t device;
  ino_t inode;
  off_t size;
  std::int64_t changeSeconds;
  std::int64_t changeNanoseconds;

  [[nodiscard]] static FileIdentity of(const struct stat& status) {
    return {status.st_dev, status.st_ino, status.st_size, status.st_ctim.tv_sec, status.st_ctim.tv_nsec};
  }
  auto operator<=>(const FileIdentity&) const = default;
};

}  // namespace wicket::linux_adapter
