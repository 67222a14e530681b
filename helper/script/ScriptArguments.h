// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace wicket {

/// The argument vectors with which interpreters are started, argv[1] onwards.
struct ScriptArguments {
  using List = std::vector<std::string>;

  /// The user's parameters from one comma-separated string. Empty pieces do not count; quotation
  /// marks are deleted and blanks trimmed only afterwards, so a piece of nothing else is passed on as
  /// an empty argument.
  [[nodiscard]] static List userParameters(std::string_view parameters);

  /// Without a file the stored arguments say what to do.
  [[nodiscard]] static List withoutFile(List shebangArguments, const List& userParameters, const List& arguments);
  /// The parameters are the script's own: they follow its path.
  [[nodiscard]] static List pythonFile(List shebangArguments, const std::string& path, const List& userParameters);
  /// The parameters are the interpreter's: they precede the script's path.
  [[nodiscard]] static List otherFile(List shebangArguments, const List& userParameters, const std::string& path);
};

}  // namespace wicket
