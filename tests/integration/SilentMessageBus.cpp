// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/integration/SilentMessageBus.h"

#include <cstdio>
#include <cstdlib>
#include <poll.h>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace wicket::integration {

SilentMessageBus::SilentMessageBus() : socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  constexpr std::string_view path = "/run/dbus/system_bus_socket";
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  const auto* generic = static_cast<const sockaddr*>(static_cast<const void*>(&address));
  if (::bind(socket_, generic, sizeof address) != 0 || ::listen(socket_, SOMAXCONN) != 0) {
    std::perror("system bus");
    std::abort();
  }
}

SilentMessageBus::~SilentMessageBus() { ::close(socket_); }

bool SilentMessageBus::wasAsked() const {
  pollfd polled{socket_, POLLIN, 0};
  return ::poll(&polled, 1, 0) > 0;
}

}  // namespace wicket::integration
