// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <sys/types.h>

namespace wicket::support {

/// The group that a set-group-ID executable gave this process, taken on by the calling thread for as long
/// as this object lives. Without effect in a process that has no such group.
class FileGroup {
 public:
  FileGroup();
  FileGroup(const FileGroup&) = delete;
  FileGroup& operator=(const FileGroup&) = delete;
  ~FileGroup();

  /// Whether the executable gave this process a group of its own.
  [[nodiscard]] static bool isGiven();
  /// Puts it aside, for all threads that start later.
  static void putAside();

 private:
  gid_t before_;
};

}  // namespace wicket::support
