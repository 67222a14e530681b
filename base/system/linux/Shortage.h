// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cerrno>
#include <chrono>

namespace wicket::linux_adapter {

/// Whether a call failed for want of descriptors or memory: then it says nothing about what was asked for.
[[nodiscard]] inline bool isShortage(int error) { return error == EMFILE || error == ENFILE || error == ENOMEM; }

/// How long to let be before it is tried again.
inline constexpr std::chrono::milliseconds shortageRestTime{100};

/// Whether what this thread has looked at since the watch began was hidden by a shortage. A look at a process answers
/// "nothing there" in either case; who judges by many looks asks here before he believes a bad result. Watches may be
/// nested, each on one thread.
class ShortageWatch {
 public:
  ShortageWatch();
  ShortageWatch(const ShortageWatch&) = delete;
  ShortageWatch& operator=(const ShortageWatch&) = delete;
  ~ShortageWatch();

  [[nodiscard]] static bool hasSeenOne();
  /// For whoever looks: with errno as a failed call has left it, which is also the result.
  static int note();

 private:
  const bool before_;
};

}  // namespace wicket::linux_adapter
