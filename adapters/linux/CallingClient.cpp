// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/CallingClient.h"

namespace wicket::linux_adapter {
namespace {

thread_local std::optional<CallingClient> callingClient;

}  // namespace

std::optional<CallingClient> CallingClient::current() { return callingClient; }

CallingClient::Scope::Scope(const CallingClient& client) : previous_(callingClient) { callingClient = client; }

CallingClient::Scope::~Scope() { callingClient = previous_; }

}  // namespace wicket::linux_adapter
