// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/LinuxPlatform.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <iostream>
#include <system_error>
#include <utility>

#include "adapters/linux/BusListener.h"
#include "adapters/linux/SocketActivation.h"

namespace wicket {
namespace linux_adapter {
namespace {

[[noreturn]] void endUnlessActivated() {
  std::cerr << "net.orvane.Wicket.TlvPrivilegedHelper: no listening socket was handed over; it is started by its "
               "systemd socket unit, not by hand.\n";
  std::exit(EXIT_FAILURE);
}

LinuxPlatform* makePlatform() {
  auto listening = takeActivationSocket();
  if (!listening) endUnlessActivated();
  // A client or a child that has gone is an error of the write, not the end of the process.
  if (std::signal(SIGPIPE, SIG_IGN) == SIG_ERR) std::abort();
  return new LinuxPlatform(std::move(*listening));
}

}  // namespace

LinuxPlatform::LinuxPlatform(posix::Descriptor listening) : listening_(std::move(listening)) {}

std::unique_ptr<Listener> LinuxPlatform::makeListener(std::string_view /*machServiceName*/) {
  // The name is in the socket's path: the service manager has chosen the socket by it.
  posix::Descriptor copy(fcntl(listening_.get(), F_DUPFD_CLOEXEC, 0));
  if (!copy.isOpen()) throw std::system_error(errno, std::generic_category(), "the listening socket");
  return std::make_unique<BusListener>(std::move(copy));
}

}  // namespace linux_adapter

// Never destroyed: threads of the platform may still run while the process ends.
Platform& Platform::current() {
  static auto& platform = *linux_adapter::makePlatform();
  return platform;
}

}  // namespace wicket
