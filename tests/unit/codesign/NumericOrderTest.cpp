// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gtest/gtest.h>
#include <string>
#include <utility>

#include "codesign/requirement/NumericOrder.h"

namespace wicket::codesign {
namespace {

TEST(NumericOrderTest, DigitsCountAsNumbersAndAllElseAsBytes) {
  const std::string huge(1000, '9');
  for (const auto& [less, greater] : {std::pair<std::string, std::string>{"1.9", "1.10"},
                                      {"a2", "a10"},
                                      {"", "0"},
                                      {"a", "b"},
                                      {"a", "ab"},
                                      {"a01", "a2"},
                                      {"9", "a"},
                                      {"Z", "a"},
                                      {"z", "\xC3\xA9"},
                                      {"1.2", "1.2.0"},
                                      {huge, "1" + huge},
                                      {"7", huge}}) {
    EXPECT_TRUE(numericOrder(less, greater) < 0) << less << " " << greater;
    EXPECT_TRUE(numericOrder(greater, less) > 0) << greater << " " << less;
  }
}

TEST(NumericOrderTest, LeadingZerosMakeNoDifference) {
  EXPECT_TRUE(numericOrder("a007b", "a7b") == 0);
  EXPECT_TRUE(numericOrder("0", "000") == 0);
  EXPECT_TRUE(numericOrder("", "") == 0);
}

}  // namespace
}  // namespace wicket::codesign
