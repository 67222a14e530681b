// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/command/ExitStatus.h"

namespace wicket::companion::command::exit_status {

int ofRunReply(ReplyCode code) {
  switch (code) {
    case reply_code::success:
      return success;
    case reply_code::scriptNotFound:
      return scriptNotFound;
    case reply_code::noTool:
    case reply_code::launchFailed:
      return toolNotStarted;
    default:
      return helperFailed;
  }
}

int ofScript(ReplyCode status) { return status >= 0 && status <= 255 ? static_cast<int>(status) : helperFailed; }

int ofSignal(int signal) { return 128 + signal; }

}  // namespace wicket::companion::command::exit_status
