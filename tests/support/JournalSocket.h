// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace wicket::support {

/// Stands where the journal's socket is and keeps the entries that arrive, each as it was sent: lines of
/// KEY=value.
class JournalSocket {
 public:
  explicit JournalSocket(const std::string& path = "/run/systemd/journal/socket");
  JournalSocket(const JournalSocket&) = delete;
  JournalSocket& operator=(const JournalSocket&) = delete;
  ~JournalSocket();

  /// The next entry's lines; empty when none comes in time.
  [[nodiscard]] std::vector<std::string> next(std::chrono::milliseconds timeout) const;

 private:
  int socket_;
};

}  // namespace wicket::support
