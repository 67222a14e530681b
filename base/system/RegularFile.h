// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <expected>
#include <string>
#include <sys/stat.h>

#include "base/system/Descriptor.h"

namespace wicket::system {

/// A regular file that was opened for reading.
struct RegularFile {
  Descriptor descriptor;
  struct stat status;

  /// Follows links, and takes what requireRegular() does; no FIFO is waited for and no device touched. The error is an
  /// errno.
  [[nodiscard]] static std::expected<RegularFile, int> open(const std::string& path);
};

/// EISDIR for a directory, EINVAL for anything else that is no regular file.
[[nodiscard]] std::expected<void, int> requireRegular(const struct stat& status);

/// Whether the system can take @p path as written: an embedded NUL would silently shorten it.
[[nodiscard]] bool isRepresentable(const std::string& path);

}  // namespace wicket::system
