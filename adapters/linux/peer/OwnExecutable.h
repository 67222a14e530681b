// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>
#include <sys/types.h>

namespace wicket::linux_adapter {

/// The file that this process runs, as /proc/self/exe of proc(5) names it.
class OwnExecutable {
 public:
  /// Looks for the first time. To be done at the start, while the name is still the file's.
  OwnExecutable();

  /// Whether the file still has its name: not after it was replaced, as an upgrade does, or removed. Any thread.
  [[nodiscard]] bool isInstalled() const;

 private:
  std::string path_;
  dev_t device_ = 0;
  ino_t inode_ = 0;
};

}  // namespace wicket::linux_adapter
