// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstdint>
#include <ctime>
#include <expected>
#include <string>
#include <vector>

#include "base/text/Problem.h"

namespace wicket::companion {

struct InstalledScript {
  std::string name;
  std::uint64_t size;      ///< bytes
  std::time_t modifiedAt;  ///< when it was installed
};

/// The scripts in the folder, by name; everybody may look into it. A missing folder holds none.
[[nodiscard]] std::expected<std::vector<InstalledScript>, Problem> installedScripts(const std::string& folder);

}  // namespace wicket::companion
