// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>

namespace wicket {

/// Why something cannot be done and what the user can do about it: two sentences without their full stops.
struct Problem {
  std::string cause;
  std::string nextStep;
};

}  // namespace wicket
