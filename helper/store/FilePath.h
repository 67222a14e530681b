// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string_view>

namespace wicket {

/// The parts of a path as text: the disk is not asked, and nothing is resolved. The results point
/// into the path or to constants.
struct FilePath {
  /// What follows the last slash; slashes at the end do not count. "/" for a path of slashes alone,
  /// "." for an empty path, which is the current folder.
  [[nodiscard]] static std::string_view lastPathComponent(std::string_view path);
  /// The text after the last dot of the last component, in the path's own case; empty without a dot.
  /// A dot at the beginning counts like any other.
  [[nodiscard]] static std::string_view pathExtension(std::string_view path);
};

}  // namespace wicket
