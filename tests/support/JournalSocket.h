// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <map>
#include <optional>
#include <string>

namespace wicket::support {

/// The journal's end of its socket, at the place where programs look for it. Only inside a private
/// namespace in which /run has been replaced (PrivateFolders).
class JournalSocket {
 public:
  using Entry = std::map<std::string, std::string>;

  JournalSocket();
  JournalSocket(const JournalSocket&) = delete;
  JournalSocket& operator=(const JournalSocket&) = delete;
  ~JournalSocket();

  /// The next entry by field; none when none has arrived yet.
  [[nodiscard]] std::optional<Entry> receive();

 private:
  int socket_;
};

}  // namespace wicket::support
