// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/authorization/AuthorizationStatusText.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>
#include <utility>

#include "protocol/HelperLines.h"

namespace wicket::linux_adapter {
namespace {

using Entry = std::pair<AuthorizationStatus, std::string_view>;

constexpr std::array<Entry, 15> texts{{
    {0, "No error."},
    {-60001, "The authorization rights are invalid."},
    {-60002, "The authorization reference is invalid."},
    {-60003, "The authorization tag is invalid."},
    {-60004, "The returned authorization is invalid."},
    {-60005, HelperLines::denied},
    {-60006, HelperLines::canceled},
    {-60007, HelperLines::interactionImpossible},
    {-60008, "Unable to obtain authorization for this operation."},
    {-60009, "The authorization is not allowed to be converted to an external format."},
    {-60010, "The authorization is not allowed to be created from an external format."},
    {-60011, "The provided option flag(s) are invalid for this authorization operation."},
    {-60031, "The specified program could not be executed."},
    {-60032, "An invalid status was returned during execution of a privileged tool."},
    {-60033, "The requested socket address is invalid (must be 0-1023 inclusive)."},
}};

/// Statuses from here on, 256 of them, carry an errno.
constexpr AuthorizationStatus firstErrno = 100000;
constexpr AuthorizationStatus errnoCount = 256;

/// The C library's English description, whatever the locale.
std::string errnoText(int number) {
  const char* text = ::strerrordesc_np(number);
  return text != nullptr ? text : "Unknown error: " + std::to_string(number);
}

}  // namespace

std::string authorizationStatusText(AuthorizationStatus status) {
  const auto* const found = std::ranges::find(texts, status, &Entry::first);
  if (found != texts.end()) return std::string(found->second);
  if (status >= firstErrno && status < firstErrno + errnoCount) return "UNIX[" + errnoText(status - firstErrno) + "]";
  return "OSStatus " + std::to_string(status);
}

}  // namespace wicket::linux_adapter
