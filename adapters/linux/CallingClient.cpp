// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/CallingClient.h"

#include <sys/socket.h>

namespace wicket::linux_adapter {
namespace {

thread_local std::optional<CallingClient> callingClient;

}  // namespace

std::optional<CallingClient> CallingClient::current() { return callingClient; }

std::optional<CallingClient> CallingClient::ofSocket(int descriptor) {
  ucred credentials{};
  socklen_t length = sizeof credentials;
  if (::getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &credentials, &length) != 0) return std::nullopt;
  return CallingClient{credentials.pid, credentials.uid};
}

CallingClient::Scope::Scope(const CallingClient& client) : previous_(callingClient) { callingClient = client; }

CallingClient::Scope::~Scope() { callingClient = previous_; }

}  // namespace wicket::linux_adapter
