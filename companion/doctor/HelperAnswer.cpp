// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/doctor/HelperAnswer.h"

#include <cstring>

#include "base/system/linux/Shortage.h"
#include "companion/doctor/Shortage.h"

namespace wicket::companion::doctor {

Finding diagnose(HelperAnswer answer, int error) {
  if (linux_adapter::isShortage(error)) {
    return {"answer", false, std::string("The helper could not be asked: ") + std::strerror(error),
            Shortage::nextStep(error)};
  }
  switch (answer) {
    case HelperAnswer::unreachable:
      return {"answer", false, "There is no connection to the helper",
              "As root: systemctl status net.orvane.Wicket.TlvPrivilegedHelper.socket"};
    case HelperAnswer::refused:
      return {"answer", false, "The helper refuses this program",
              "Correct the problems above; where there are none, install command and helper of the same build"};
    case HelperAnswer::silent:
      return {"answer", false, "The helper does not answer",
              "As root: systemctl status net.orvane.Wicket.TlvPrivilegedHelper.service"};
    case HelperAnswer::overLimit:
      return {"answer", false, "The helper takes no more of your connections: you have as many open as a user may have",
              "Let other wicket commands end, then run the command again"};
    case HelperAnswer::answered:
      break;
  }
  return {"answer", true, "The helper answers this program", {}};
}

}  // namespace wicket::companion::doctor
