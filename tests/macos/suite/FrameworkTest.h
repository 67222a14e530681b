// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace wicket::suite {

/// Begins with fresh frameworks and makes sure that a test has left nothing behind: every object that came to life
/// in it, in the adapters too, is gone, and none was autoreleased where no pool was open.
class FrameworkTest : public testing::Test {
 protected:
  FrameworkTest();
  ~FrameworkTest() override;
  /// Here everything that a test owns still lives; a test with owned things lets go of them in its own TearDown()
  /// and then calls this one.
  void TearDown() override;

  /// What was recorded since the beginning or the last forget().
  [[nodiscard]] static std::vector<std::string> recorded();
  [[nodiscard]] static std::vector<std::string> recorded(std::string_view prefix);
  static void forget();
  /// Takes what was autoreleased without a pool until now for intended.
  void forgetAutoreleasedWithoutPool();

 private:
  void* const pool_;
  std::map<std::string, long> objectsBefore_;
  long withoutPoolBefore_;
};

}  // namespace wicket::suite
