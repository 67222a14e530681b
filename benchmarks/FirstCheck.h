// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <optional>
#include <string>

#include "benchmarks/Samples.h"
#include "codesign/certificate/Certificate.h"
#include "helper/platform/AuditToken.h"

namespace wicket::benchmarks {

/// The check of a client as the first thing that a newly started process does, as a helper does that is
/// started by the connection: OpenSSL has computed nothing yet.
class FirstCheck {
 public:
  static constexpr char option[] = "--first-check";

  /// Starts this program anew for one check and waits for it. None unless the client was let in.
  [[nodiscard]] static std::optional<Microseconds> inNewProcess(const AuditTokenData& token,
                                                                const std::string& anchorFile);
  /// What the new process does: checks, and writes the duration to standard output. The exit status.
  [[nodiscard]] static int run(const std::string& token, const std::string& anchorFile);
};

}  // namespace wicket::benchmarks
