// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <optional>
#include <sys/stat.h>
#include <sys/types.h>
#include <utility>

#include "base/system/Descriptor.h"
#include "base/system/linux/FileIdentity.h"
#include "base/system/linux/ProcessFiles.h"

namespace wicket::linux_adapter {

/// The executable that a process runs, open for reading, and known to be one that only root can have
/// made or altered and that gives its group to whoever runs it. Not a byte of it has been read.
class ExecutableFile {
 public:
  /// None unless it is a regular file of root and of @p group with the set-group bit, writable by
  /// nobody else, with a name still, without an access control list and on a file system where the bit
  /// counts. Nothing but a file of which all that is true is opened.
  [[nodiscard]] static std::optional<ExecutableFile> ofProcess(const ProcessFiles& process, gid_t group);

  [[nodiscard]] int descriptor() const { return descriptor_.get(); }
  [[nodiscard]] FileIdentity identity() const { return FileIdentity::of(status_); }
  /// Whether nobody has changed the file or its attributes since it was opened.
  [[nodiscard]] bool isUnchanged() const;

 private:
  ExecutableFile(Descriptor descriptor, const struct stat& status)
      : descriptor_(std::move(descriptor)), status_(status) {}

  Descriptor descriptor_;
  struct stat status_;
};

}  // namespace wicket::linux_adapter
