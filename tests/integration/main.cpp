// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <csignal>
#include <gtest/gtest.h>
#include <vector>

#include "tests/integration/IntegrationTest.h"

int main(int argc, char** argv) {
  std::vector<char*> arguments(argv, argv + argc);
  arguments.push_back(nullptr);
  ::testing::InitGoogleTest(&argc, argv);
  std::signal(SIGPIPE, SIG_IGN);
  // Listing the tests is part of the build and must work where no namespace can be had.
  if (!GTEST_FLAG_GET(list_tests)) wicket::integration::IntegrationTest::prepareProcess(arguments.data());
  return RUN_ALL_TESTS();
}
