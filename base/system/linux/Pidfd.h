// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstdint>
#include <sys/types.h>
#include <utility>

#include "base/system/Descriptor.h"

namespace wicket::linux_adapter {

/// One process, pinned: pidfd_open(2). It never comes to mean another process.
class Pidfd {
 public:
  explicit Pidfd(Descriptor descriptor) : descriptor_(std::move(descriptor)) {}
  /// The process that has this number now. Not open, with errno set, when there is none.
  [[nodiscard]] static Pidfd open(pid_t pid);

  [[nodiscard]] bool isOpen() const { return descriptor_.isOpen(); }
  [[nodiscard]] int get() const { return descriptor_.get(); }
  /// False once the process has ended, even while its parent has not taken notice.
  [[nodiscard]] bool isAlive() const;
  /// A number that no other process gets until the system restarts. Zero where the kernel gives pidfds
  /// no inode of their own.
  [[nodiscard]] std::uint64_t inode() const;

 private:
  Descriptor descriptor_;
};

}  // namespace wicket::linux_adapter
