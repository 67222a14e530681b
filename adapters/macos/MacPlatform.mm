// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/macos/MacPlatform.h"

#include <csignal>
#include <cstdlib>

#include "adapters/macos/XpcListener.h"

namespace wicket {
namespace macos_adapter {

std::unique_ptr<Listener> MacPlatform::makeListener(std::string_view machServiceName) {
  @autoreleasepool {
    return std::make_unique<XpcListener>(machServiceName);
  }
}

}  // namespace macos_adapter

// Never destroyed: threads of the platform may still run while the process ends. That launchd has started the process
// is not asked here; XPC refuses a service name that launchd holds for nobody or for somebody else.
Platform& Platform::current() {
  static auto& platform = *[] {
    // A client or a child that has gone is an error of the write, not the end of the process.
    if (std::signal(SIGPIPE, SIG_IGN) == SIG_ERR) std::abort();
    return new macos_adapter::MacPlatform;
  }();
  return platform;
}

// The platform starts no other process out of this program.
void Platform::runAuxiliaryProcess(std::span<char* const> /*arguments*/) {}

}  // namespace wicket
