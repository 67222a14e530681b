// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>

namespace wicket::companion::doctor {

/// What one check found.
struct Finding {
  std::string check;      ///< a name for programs that never changes, such as "socket-mode"
  bool isWell;            ///< false: the helper would not serve this program because of it
  std::string statement;  ///< a sentence without its full stop
  std::string nextStep;   ///< the same; empty when all is well

  bool operator==(const Finding&) const = default;
};

}  // namespace wicket::companion::doctor
