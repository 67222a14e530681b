// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "helper/clients/FatalError.h"

#include <cstdlib>
#include <iostream>

namespace wicket {

void fatalError(std::string_view sourceFile, std::string_view message) {
  std::cerr << sourceFile << ": Fatal error: " << message << std::endl;
  std::abort();
}

}  // namespace wicket
