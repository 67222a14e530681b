// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <expected>
#include <memory>
#include <sys/types.h>
#include <utility>

#include "adapters/linux/peer/ExecutableFile.h"
#include "base/system/linux/Pidfd.h"
#include "helper/platform/CodeSigningServices.h"

namespace wicket::linux_adapter {

/// The file that a pinned program runs.
class LinuxStaticCode final : public StaticCode {
 public:
  explicit LinuxStaticCode(ExecutableFile file) : file_(std::move(file)) {}
  [[nodiscard]] const ExecutableFile& file() const { return file_; }

 private:
  const ExecutableFile file_;
};

/// A process that got the companion's group by running the set-group executable, pinned with it.
class LinuxCode final : public Code {
 public:
  /// noSuchCode unless the token names a process that still lives and that had @p group when it
  /// connected, guestInvalid unless it runs by itself what only root can have installed. All of that is
  /// the kernel's word: no byte of the executable is read, and a process of another group is turned
  /// away before anything at all is opened.
  [[nodiscard]] static std::expected<std::shared_ptr<LinuxCode>, CodeSigningStatus> ofToken(const AuditTokenData& token,
                                                                                            gid_t group);

  LinuxCode(Pidfd pidfd, pid_t pid, ExecutableFile file);

  [[nodiscard]] const std::shared_ptr<LinuxStaticCode>& staticCode() const { return staticCode_; }
  /// Whether the process lives and runs the same executable, which nobody has changed meanwhile.
  [[nodiscard]] bool isUnchanged() const;

 private:
  const Pidfd pidfd_;
  const pid_t pid_;
  const std::shared_ptr<LinuxStaticCode> staticCode_;
};

}  // namespace wicket::linux_adapter
