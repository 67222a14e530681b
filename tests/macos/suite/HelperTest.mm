// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/macos/suite/HelperTest.h"

#include "tests/macos/frameworks/VirtualTime.h"
#include "tests/macos/frameworks/Xpc.h"

namespace wicket::suite {

void HelperTest::SetUp() {
  helper_ = std::make_shared<PrivilegedHelper>(*platform_);
  [[NSXPCListener wicketNewest] resume];
}

void HelperTest::TearDown() {
  using namespace std::chrono_literals;
  frameworks::VirtualTime::forgetActions();
  platform_->mainQueue().run(45s);
  helper_.reset();
  platform_.reset();
  FrameworkTest::TearDown();
}

}  // namespace wicket::suite
