// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstdint>
#include <string>
#include <sys/stat.h>
#include <sys/types.h>

namespace wicket::companion::doctor {

/// What the system says about one path.
struct FileFacts {
  std::string path;
  int error = 0;  ///< why nothing is known about it, as an error number; 0 when the rest holds
  mode_t mode = 0;
  uid_t owner = 0;
  gid_t group = 0;
  nlink_t links = 1;
  std::int64_t changeSeconds = 0;  ///< of the last change of its content or its attributes
  std::int64_t changeNanoseconds = 0;

  bool operator==(const FileFacts&) const = default;

  [[nodiscard]] bool isKnown() const { return error == 0; }
  [[nodiscard]] bool isWritableByOthers() const { return (mode & (S_IWGRP | S_IWOTH)) != 0; }
  [[nodiscard]] mode_t permissions() const { return mode & 07777U; }

  /// Of the file that @p path leads to.
  [[nodiscard]] static FileFacts of(const std::string& path);
  /// Of an open file that is called @p path; a descriptor below 0 stands for @p error.
  [[nodiscard]] static FileFacts of(int descriptor, const std::string& path, int error);
};

}  // namespace wicket::companion::doctor
