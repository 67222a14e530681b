// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <optional>
#include <vector>

#include "admission/Facts.h"
#include "admission/Refusal.h"

namespace wicket::admission {

/// The first refusal, in the order of Refusal; none lets the process in as far as these facts go. No fact behind it is
/// fetched.
[[nodiscard]] std::optional<Refusal> firstRefusal(ProcessFacts& facts);
[[nodiscard]] std::optional<Refusal> firstRefusal(ExecutableFacts& facts);
[[nodiscard]] std::optional<Refusal> firstRefusal(SignatureFacts& facts);
[[nodiscard]] std::optional<Refusal> firstRefusal(ValidityFacts& facts);
[[nodiscard]] std::optional<Refusal> firstRefusal(Facts& facts);

/// All of them, in their order.
[[nodiscard]] std::vector<Refusal> refusals(Facts& facts);

}  // namespace wicket::admission
