// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/bus/SocketActivation.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <systemd/sd-daemon.h>

namespace wicket::linux_adapter {

std::expected<Descriptor, SocketActivationError> takeActivationSocket() {
  // Sets the close-on-exec flag, too.
  if (sd_listen_fds(1) != 1) return std::unexpected(SocketActivationError::notHandedOver);
  if (sd_is_socket_unix(SD_LISTEN_FDS_START, SOCK_STREAM, 1, nullptr, 0) <= 0) {
    return std::unexpected(SocketActivationError::notAListeningUnixStreamSocket);
  }
  Descriptor socket(SD_LISTEN_FDS_START);
  const int flags = fcntl(socket.get(), F_GETFL);
  if (flags < 0 || fcntl(socket.get(), F_SETFL, flags | O_NONBLOCK) < 0) {
    return std::unexpected(SocketActivationError::notAListeningUnixStreamSocket);
  }
  return socket;
}

}  // namespace wicket::linux_adapter
