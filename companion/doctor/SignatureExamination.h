// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>

#include "codesign/certificate/Certificate.h"
#include "companion/doctor/SignatureFacts.h"

namespace wicket::companion::doctor {

/// Checks the signature of an open file the way the helper does: the chain to @p anchor, what the signature
/// says, the file's bytes, and @p requirement. Reads the whole file. The descriptor stays the caller's.
[[nodiscard]] SignatureFacts examineSignature(int descriptor, const codesign::Certificate& anchor,
                                              const std::string& requirement);

}  // namespace wicket::companion::doctor
