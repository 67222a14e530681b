// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string_view>

namespace wicket::codesign {

/// Why a file's signature does not count.
enum class SigningFailure {
  cannotBeRead,
  notARegularFile,
  notSigned,
  trailerMalformed,
  blockOutOfBounds,
  severalBlocks,
  messageMalformed,
  severalSigners,
  algorithmTooWeak,
  signatureWrong,
  anchorUnusable,
  chainNotToAnchor,
  certificateNotYetValid,
  intermediateIsNoAuthority,
  pathTooLong,
  leafNotForCodeSigning,
  criticalExtensionUnknown,
  codeDirectoryMalformed,
  digestAlgorithmUnknown,
  coveredLengthWrong,
  fileTooLarge,
  fileAltered,
};

/// A sentence without its full stop. Static storage.
[[nodiscard]] std::string_view textOf(SigningFailure failure);

}  // namespace wicket::codesign
