// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

namespace wicket::companion {

enum class CallError {
  connectionCut,    ///< the helper ended the connection, or refused it, before it answered
  rejected,         ///< the helper answered with an error of the transport
  invalidArgument,  ///< a text that cannot travel: not UTF-8, or with U+0000
  timedOut,         ///< the helper did not answer within the time limit
  interrupted,      ///< the caller's cancel descriptor became readable
  /// @name This user has as much as the helper lets one user have, see wire/UserLimits.h; nothing was done
  /// @{
  tooManyConnections,
  tooManyQuestions,
  tooManyScripts,
  /// @}
};

}  // namespace wicket::companion
