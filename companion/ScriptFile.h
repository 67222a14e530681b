// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <expected>
#include <string>
#include <string_view>

#include "base/text/Problem.h"

namespace wicket::companion {

/// A file that the user wants to install, looked at before anybody is asked for a password: it must be a
/// regular, readable file of valid UTF-8 whose first line names a tool the way the helper reads it.
class ScriptFile {
 public:
  [[nodiscard]] static std::expected<ScriptFile, Problem> inspect(const std::string& path);

  /// The absolute path; "." and ".." stay in it.
  [[nodiscard]] const std::string& path() const { return path_; }
  /// The first word after "#!".
  [[nodiscard]] const std::string& tool() const { return tool_; }
  /// Whether the first line ends in CR LF. The helper takes the CR for a line break, but the tool will
  /// read the other lines with it.
  [[nodiscard]] bool hasCarriageReturns() const { return hasCarriageReturns_; }

 private:
  ScriptFile() = default;

  std::string path_;
  std::string tool_;
  bool hasCarriageReturns_ = false;
};

/// The tool that a script's text names in its first line, or why it names none. @p name is for the message.
[[nodiscard]] std::expected<std::string, Problem> toolInFirstLine(const std::string& name, std::string_view firstLine);

}  // namespace wicket::companion
