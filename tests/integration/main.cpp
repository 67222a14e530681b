// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <csignal>
#include <gtest/gtest.h>

#include "tests/integration/IntegrationTest.h"

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  std::signal(SIGPIPE, SIG_IGN);
  // Listing the tests is part of the build and must work where no namespace can be had.
  if (!GTEST_FLAG_GET(list_tests)) wicket::integration::IntegrationTest::prepareProcess();
  return RUN_ALL_TESTS();
}
