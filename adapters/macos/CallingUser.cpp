// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/macos/CallingUser.h"

namespace wicket::macos_adapter {
namespace {

thread_local std::optional<CallingUser> callingUser;

}  // namespace

std::optional<CallingUser> CallingUser::current() { return callingUser; }

CallingUser::Scope::Scope(const CallingUser& user) { callingUser = user; }

CallingUser::Scope::~Scope() { callingUser.reset(); }

}  // namespace wicket::macos_adapter
