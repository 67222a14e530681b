// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>

#include "protocol/Identifier.h"

namespace wicket {

struct HelperPath {
  static constexpr char privilegedToolFolder[] = "/Library/PrivilegedHelperTools/";
  /// Without a slash at its end, unlike scriptFolderPrefix: whoever joins a name adds one.
  static constexpr char privilegedScriptFolder[] = "/var/orvane";
  /// What file names are appended to.
  static constexpr char scriptFolderPrefix[] = "/var/orvane/";

  /// The helper's own installed executable, joined on first use and then kept.
  static const std::string& privilegedTool() {
    static const std::string path = std::string(privilegedToolFolder) + Identifier::privilegedHelper;
    return path;
  }
};

}  // namespace wicket
