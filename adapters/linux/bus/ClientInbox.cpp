// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/bus/ClientInbox.h"

#include <cerrno>
#include <sys/socket.h>

#include "adapters/linux/bus/AttributedReceive.h"
#include "wire/BusNames.h"

namespace wicket::linux_adapter {

std::optional<BusFeed> BusFeed::make() {
  std::array<int, 2> pair{};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, pair.data()) != 0) return std::nullopt;
  return BusFeed{Descriptor(pair[0]), Descriptor(pair[1])};
}

ClientInbox::ClientInbox(pid_t client) : client_(client), framer_(wire::messageSizeLimit) {}

ClientInbox::Received ClientInbox::receive(int socket, bool mayBeAnonymous) {
  const auto received = AttributedReceive::from(socket, buffer_);
  if (received.count < 0 && (errno == EAGAIN || errno == EINTR)) return Received::nothing;
  if (received.count <= 0) return Received::end;
  // A socket can be handed on, and a client that did so is no companion.
  const bool isForeign = received.sender ? *received.sender != client_ : !mayBeAnonymous;
  if (isForeign || received.hasMore) return Received::violation;
  unread_ = std::span(buffer_).first(static_cast<std::size_t>(received.count));
  senderIsKnown_ = received.sender.has_value();
  return Received::piece;
}

MessageFramer::Boundary ClientInbox::handOn() {
  const MessageFramer::Piece piece = framer_.next(unread_);
  if (piece.boundary == MessageFramer::Boundary::violation) return MessageFramer::Boundary::violation;
  // The feed is empty, since the bus takes at once whatever is put there, so the piece fits.
  const ssize_t sent = send(feed_.get(), unread_.data(), piece.length, MSG_NOSIGNAL);
  if (sent < 0 || static_cast<std::size_t>(sent) != piece.length) return MessageFramer::Boundary::violation;
  unread_ = unread_.subspan(piece.length);
  return piece.boundary;
}

}  // namespace wicket::linux_adapter
