// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gtest/gtest.h>

#include "wire/PolkitAction.h"

namespace wicket::wire {
namespace {

TEST(PolkitActionTest, TheRightThatGuardsInstallationIsNamedByItsSelectorWithHyphens) {
  EXPECT_EQ(polkitAction("net.orvane.Wicket.TlvPrivilegedHelper.installScriptAt:authData:completion:"),
            "net.orvane.Wicket.TlvPrivilegedHelper.installScriptAt-authData-completion-");
}

TEST(PolkitActionTest, ANameWithoutColonsIsItsOwnAction) { EXPECT_EQ(polkitAction("net.Orvane.x1"), "net.Orvane.x1"); }

}  // namespace
}  // namespace wicket::wire
