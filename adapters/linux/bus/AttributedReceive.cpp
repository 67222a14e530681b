// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/bus/AttributedReceive.h"

#include <array>
#include <cstring>
#include <sys/socket.h>

namespace wicket::linux_adapter {
namespace {

std::optional<pid_t> senderOf(const msghdr& message) {
  const cmsghdr* const header = CMSG_FIRSTHDR(&message);
  if (header == nullptr || header->cmsg_level != SOL_SOCKET || header->cmsg_type != SCM_CREDENTIALS)
    return std::nullopt;
  ucred credentials{};
  if (header->cmsg_len < CMSG_LEN(sizeof credentials)) return std::nullopt;
  std::memcpy(&credentials, CMSG_DATA(header), sizeof credentials);
  return credentials.pid > 0 ? std::optional(credentials.pid) : std::nullopt;
}

}  // namespace

AttributedReceive AttributedReceive::from(int socket, std::span<std::byte> buffer) {
  // Room for the credentials and for nothing else: descriptors that are sent along do not fit, and the
  // kernel closes them instead of installing them here.
  alignas(cmsghdr) std::array<std::byte, CMSG_SPACE(sizeof(ucred))> control{};
  iovec data{buffer.data(), buffer.size()};
  msghdr message{};
  message.msg_iov = &data;
  message.msg_iovlen = 1;
  message.msg_control = control.data();
  message.msg_controllen = control.size();
  const ssize_t count = ::recvmsg(socket, &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
  if (count <= 0) return {count, std::nullopt, false};
  return {count, senderOf(message), (message.msg_flags & MSG_CTRUNC) != 0};
}

bool AttributedReceive::enable(int socket) {
  constexpr int on = 1;
  return ::setsockopt(socket, SOL_SOCKET, SO_PASSCRED, &on, sizeof on) == 0;
}

}  // namespace wicket::linux_adapter
