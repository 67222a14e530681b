// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <sys/types.h>
#include <utility>

#include "adapters/linux/bus/MessageFramer.h"
#include "base/system/Descriptor.h"

namespace wicket::linux_adapter {

/// A pair of connected sockets: what is put into the entry comes out at the end that a bus reads.
struct BusFeed {
  Descriptor entry;
  Descriptor busEnd;

  /// None, with errno set, when the system has no descriptors left.
  [[nodiscard]] static std::optional<BusFeed> make();
};

/// What a client has sent, on its way from the socket into the bus's feed. It is read by pieces, each with the kernel's
/// word on who wrote it, and handed on up to one boundary after the other. I/O thread only.
class ClientInbox {
 public:
  /// What reading has brought.
  enum class Received {
    piece,
    nothing,    ///< not now
    end,        ///< the client is gone
    violation,  ///< another process wrote it, or more came than bytes: nothing of it is believed any more
  };

  /// @p client is the process whose word counts.
  explicit ClientInbox(pid_t client);

  /// From now on what is handed on goes there.
  void feed(Descriptor entry) { feed_ = std::move(entry); }
  [[nodiscard]] bool isEmpty() const { return unread_.empty(); }
  /// Once it is empty. @p mayBeAnonymous says whether a piece may come from nobody in particular.
  [[nodiscard]] Received receive(int socket, bool mayBeAnonymous);
  /// Hands on what is there, up to the next boundary.
  [[nodiscard]] MessageFramer::Boundary handOn();
  /// Whether what is left is of nobody in particular.
  [[nodiscard]] bool hasAnonymousRest() const { return !senderIsKnown_ && !isEmpty(); }
  void close() { feed_.reset(); }

 private:
  const pid_t client_;
  Descriptor feed_;
  MessageFramer framer_;
  std::array<std::byte, std::size_t{16} << 10U> buffer_;
  std::span<const std::byte> unread_;
  bool senderIsKnown_ = false;
};

}  // namespace wicket::linux_adapter
