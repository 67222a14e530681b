// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstdint>

namespace wicket::admission {

/// Why a process is not let in, in the order in which it is looked for.
enum class Refusal : std::uint8_t {
  // Of the process that connected.
  anotherGroup,
  anotherProcess,
  traced,
  anotherUserNamespace,
  openToItsUser,
  // Of the file that it runs.
  noRegularFile,
  notOfRoot,
  notOfTheGroup,
  givesNoGroup,
  writableByOthers,
  withoutName,
  mountIgnoresSetGroup,
  accessControlList,
  // Of the signature.
  notSigned,
  notHardened,
  withoutEntitlements,
  getTaskAllow,
  disableLibraryValidation,
  allowDyldEnvironmentVariables,
  // Of what was signed.
  requirementNotMet,
  altered,
  changed,
};

}  // namespace wicket::admission
