// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <expected>
#include <string>

#include "base/system/Descriptor.h"
#include "codesign/certificate/Certificate.h"
#include "codesign/certificate/SigningFailure.h"
#include "codesign/command/Output.h"

namespace wicket::codesign::command {

/// All of a small file: key material and lists are never longer than 1 MiB.
[[nodiscard]] std::expected<std::string, Problem> textOfFile(const std::string& path);
/// A certificate from a PEM file.
[[nodiscard]] std::expected<Certificate, Problem> anchorFromFile(const std::string& path);
/// Open for reading, whatever kind of file it is.
[[nodiscard]] std::expected<Descriptor, Problem> openedFile(const std::string& path);
/// Why the signature of a file does not count.
[[nodiscard]] Problem problemWith(const std::string& path, SigningFailure failure);

}  // namespace wicket::codesign::command
