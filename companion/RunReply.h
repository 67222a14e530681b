// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstdint>

#include "protocol/ReplyCode.h"

namespace wicket::companion {

/// The first report of a run. The exit status of a started script follows in a later one.
struct RunReply {
  ReplyCode code;
  std::uint32_t serial;  ///< names the run in HelperConnection::waitForExit()

  [[nodiscard]] bool isStarted() const { return code == reply_code::success; }
};

}  // namespace wicket::companion
