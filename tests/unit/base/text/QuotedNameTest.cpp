// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors

#include <algorithm>
#include <gtest/gtest.h>
#include <string>

#include "base/text/QuotedName.h"

namespace wicket {
namespace {

TEST(QuotedNameTest, AnOrdinaryPathIsShownAsItIs) {
  EXPECT_EQ(quotedName("/home/anna/back-up_2.sh"), "\"/home/anna/back-up_2.sh\"");
}

TEST(QuotedNameTest, NothingIsShownAsAnEmptyName) { EXPECT_EQ(quotedName(""), "\"\""); }

TEST(QuotedNameTest, WhatCouldEndTheNameOrTheLineIsEscaped) {
  EXPECT_EQ(quotedName("a\"b"), "\"a\\x22b\"");
  EXPECT_EQ(quotedName("a\\x22b"), "\"a\\x5cx22b\"");
  EXPECT_EQ(quotedName("a\nb\rc\tz"), "\"a\\x0ab\\x0dc\\x09z\"");
  EXPECT_EQ(quotedName(std::string("a\0b", 3)), "\"a\\x00b\"");
}

TEST(QuotedNameTest, WhatADialogCouldExpandOrTakeForMarkupIsEscaped) {
  EXPECT_EQ(quotedName("$(user)"), "\"\\x24(user)\"");
  EXPECT_EQ(quotedName("<b>&amp;`"), "\"\\x3cb\\x3e\\x26amp;\\x60\"");
}

TEST(QuotedNameTest, MarksThatTurnTheDirectionAndBytesThatAreNoTextAreEscaped) {
  EXPECT_EQ(quotedName("a\u202Eb"), "\"a\\xe2\\x80\\xaeb\"");
  EXPECT_EQ(quotedName("\xFF\u00E9"), "\"\\xff\\xc3\\xa9\"");
}

TEST(QuotedNameTest, EveryByteIsShownInAsciiThatIsNoControlCharacter) {
  std::string all;
  for (int byte = 0; byte < 150; ++byte) all += static_cast<char>(byte);
  EXPECT_TRUE(std::ranges::all_of(quotedName(all), [](char shown) { return shown >= ' ' && shown < '\x7F'; }));
}

TEST(QuotedNameTest, OfALongNameTheBeginningAndTheEndAreShown) {
  const std::string begin(60, 'b');
  const std::string end(120, 'e');
  EXPECT_EQ(quotedName(begin + std::string(21, 'm') + end), "\"" + begin + "\"[21 more]\"" + end + "\"");
  const std::string whole(200, 'w');
  EXPECT_EQ(quotedName(whole), "\"" + whole + "\"");
}

TEST(QuotedNameTest, ANameCannotPretendThatSomethingIsLeftOut) {
  EXPECT_EQ(quotedName("a\"[5 more]\"b"), "\"a\\x22[5 more]\\x22b\"");
}

}  // namespace
}  // namespace wicket
