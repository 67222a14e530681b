// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/bus/ServerBus.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <systemd/sd-id128.h>
#include <utility>

namespace wicket::linux_adapter {
namespace {

/// What the kernel may hold for a client. sd-bus asks for 8 MiB, which no account here would show.
constexpr int sendBufferSize = 128 << 10;

}  // namespace

int ServerBus::start(int client, Descriptor feedEnd, sd_bus_message_handler_t handler, void* userData) {
  sd_bus* created = nullptr;
  int result = sd_bus_new(&created);
  if (result < 0) return result;
  bus_.reset(created);
  Descriptor outgoing(fcntl(client, F_DUPFD_CLOEXEC, 0));
  if (!outgoing.isOpen()) return -errno;
  result = sd_bus_set_fd(bus_.get(), feedEnd.get(), outgoing.get());
  if (result < 0) return result;
  (void)feedEnd.release();
  (void)outgoing.release();

  sd_id128_t id{};
  result = sd_id128_randomize(&id);
  if (result >= 0) result = sd_bus_set_server(bus_.get(), 1, id);
  // The handshake proves nothing here: who may connect is decided by the socket's mode and by the delegate.
  if (result >= 0) result = sd_bus_set_anonymous(bus_.get(), 1);
  if (result >= 0) result = sd_bus_negotiate_fds(bus_.get(), 0);
  if (result >= 0) result = sd_bus_add_filter(bus_.get(), nullptr, handler, userData);
  if (result >= 0) result = sd_bus_start(bus_.get());
  // After the start, which asks for the library's own size.
  setsockopt(client, SOL_SOCKET, SO_SNDBUF, &sendBufferSize, sizeof sendBufferSize);
  return result;
}

bool ServerBus::process() {
  int result = 0;
  do {
    result = sd_bus_process(bus_.get(), nullptr);
  } while (result > 0);
  return result >= 0;
}

std::uint64_t ServerBus::unwrittenMessages() const {
  std::uint64_t count = 0;
  sd_bus_get_n_queued_write(bus_.get(), &count);
  return count;
}

bool ServerBus::waitsToWrite() const {
  const int wanted = sd_bus_get_events(bus_.get());
  return wanted > 0 && (static_cast<std::uint32_t>(wanted) & EPOLLOUT) != 0;
}

}  // namespace wicket::linux_adapter
