// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>
#include <string_view>

namespace wicket::admission {

/// What a client's signature has to meet, in the code requirement language: the program of this @p identifier, signed
/// with the certificate whose subject has this @p commonName. Neither may hold what ends or changes a quoted text.
[[nodiscard]] std::string requirementText(std::string_view identifier, std::string_view commonName);

}  // namespace wicket::admission
