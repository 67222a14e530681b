// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

namespace wicket::integration {

/// A system bus that lets everybody connect and never says a word.
class SilentMessageBus {
 public:
  SilentMessageBus();
  SilentMessageBus(const SilentMessageBus&) = delete;
  SilentMessageBus& operator=(const SilentMessageBus&) = delete;
  ~SilentMessageBus();

  /// Whether somebody has connected.
  [[nodiscard]] bool wasAsked() const;

 private:
  int socket_;
};

}  // namespace wicket::integration
