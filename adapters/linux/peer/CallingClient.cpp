// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/peer/CallingClient.h"

#include <utility>

namespace wicket::linux_adapter {
namespace {

thread_local std::optional<CallingClient> callingClient;

}  // namespace

std::optional<CallingClient> CallingClient::current() { return callingClient; }

CallingClient::Scope::Scope(CallingClient client) : previous_(std::exchange(callingClient, std::move(client))) {}

CallingClient::Scope::~Scope() { callingClient = std::move(previous_); }

}  // namespace wicket::linux_adapter
