// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cerrno>
#include <expected>

#include "helper/platform/FileManager.h"

namespace wicket::posix {

/// An errno as a result.
[[nodiscard]] inline std::unexpected<FileError> failure(int number) { return std::unexpected(FileError{number}); }

/// The current errno as a result.
[[nodiscard]] inline std::unexpected<FileError> lastError() { return failure(errno); }

}  // namespace wicket::posix
