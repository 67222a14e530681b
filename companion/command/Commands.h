// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <optional>
#include <string>

#include "companion/command/Context.h"

namespace wicket::companion::command {

struct InstallOptions {
  std::string file;
  std::optional<std::string> name;  ///< the file's own name when absent
};

struct RunOptions {
  std::string name;
  bool wait = true;
};

struct UninstallOptions {
  bool all = false;
  bool assumeYes = false;
};

/// The subcommands; each returns the command's exit status.
[[nodiscard]] int showVersion(Context& context);
[[nodiscard]] int install(Context& context, const InstallOptions& options);
[[nodiscard]] int run(Context& context, const RunOptions& options);
[[nodiscard]] int list(Context& context, bool asJson);
[[nodiscard]] int remove(Context& context, const std::string& name);
[[nodiscard]] int uninstall(Context& context, const UninstallOptions& options);
/// "doctor": what would keep the helper from serving this program.
[[nodiscard]] int examine(Context& context, bool asJson);

}  // namespace wicket::companion::command
