// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <expected>
#include <memory>
#include <sys/types.h>

#include "adapters/linux/peer/ExecutableFile.h"
#include "adapters/linux/peer/SignedFiles.h"
#include "base/system/linux/Pidfd.h"
#include "helper/platform/CodeSigningServices.h"

namespace wicket::linux_adapter {

/// A process that got the companion's group by running the set-group executable, pinned with that file.
class LinuxCode final : public Code {
 public:
  /// noSuchCode unless the token names a process that still lives and that had @p group when it
  /// connected, guestInvalid unless it runs by itself what only root can have installed. All of that is
  /// the kernel's word: no byte of the executable is read, and a process of another group is turned
  /// away before anything at all is opened. @p files must outlive it.
  [[nodiscard]] static std::expected<std::shared_ptr<const LinuxCode>, CodeSigningStatus> ofToken(
      const AuditTokenData& token, gid_t group, SignedFiles& files);

  LinuxCode(Pidfd pidfd, pid_t pid, ExecutableFile file, SignedFiles& files);

  /// Of a file without a signature block nothing is known, which is no error.
  [[nodiscard]] std::expected<SigningInformation, CodeSigningStatus> signingInformation() const override;
  [[nodiscard]] CodeSigningStatus meets(const std::string& requirement) const override;

  [[nodiscard]] const ExecutableFile& file() const { return file_; }
  /// Whether the process lives and runs the same executable, which nobody has changed meanwhile.
  [[nodiscard]] bool isUnchanged() const;

 private:
  const Pidfd pidfd_;
  const pid_t pid_;
  const ExecutableFile file_;
  SignedFiles& files_;
};

}  // namespace wicket::linux_adapter
