// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

namespace wicket {

/// Bundle identifiers. The helper's is also its service's name and its job's label.
struct Identifier {
  static constexpr char privilegedHelper[] = "net.orvane.Wicket.TlvPrivilegedHelper";
  /// The only client application that is accepted.
  static constexpr char wicket[] = "net.orvane.Wicket";
};

}  // namespace wicket
