// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "base/text/TerminalText.h"

namespace wicket::companion {
namespace {

std::string shown(const std::vector<std::string>& pieces) {
  TerminalText text;
  std::string result;
  for (const std::string& piece : pieces) result += text.visible(piece);
  return result + text.finish();
}

TEST(TerminalTextTest, TextTabsAndLineFeedsStayAsTheyAre) {
  EXPECT_EQ(shown({"a\tb\n", "caf\u00E9 \u65E5\u672C\n"}), "a\tb\ncaf\u00E9 \u65E5\u672C\n");
}

TEST(TerminalTextTest, ColoursStayAsTheyAre) {
  for (const char* sequence : {"\x1B[m", "\x1B[0m", "\x1B[1;31m", "\x1B[38;2;1;2;3m", "\x1B[4:3m"}) {
    EXPECT_EQ(shown({std::string("a") + sequence + "b"}), std::string("a") + sequence + "b");
  }
}

TEST(TerminalTextTest, AColourThatComesInPiecesIsOne) { EXPECT_EQ(shown({"a\x1B", "[3", "1", "mb"}), "a\x1B[31mb"); }

struct Control {
  const char* sent;
  const char* shown;
};

class ControlCharacterTest : public testing::TestWithParam<Control> {};

TEST_P(ControlCharacterTest, IsVisibleAndWithoutEffect) {
  EXPECT_EQ(shown({GetParam().sent}), GetParam().shown);
  // In pieces, but never a character.
  if (GetParam().sent[0] == '\xC2') return;
  std::vector<std::string> bytes;
  for (const char* byte = GetParam().sent; *byte != '\0'; ++byte) bytes.emplace_back(1, *byte);
  EXPECT_EQ(shown(bytes), GetParam().shown);
}

INSTANTIATE_TEST_SUITE_P(All, ControlCharacterTest,
                         testing::Values(Control{"\x1B[2J", "\\x1B[2J"},  // clears the screen
                                         Control{"\x1B[6n", "\\x1B[6n"},  // has the terminal type an answer
                                         Control{"\x1B]0;root#\x07", "\\x1B]0;root#\\x07"},  // renames the window
                                         Control{"\x1B[31", "\\x1B[31"},                     // never ends
                                         Control{"\x1B\x1B[31m", "\\x1B\x1B[31m"},           // does
                                         Control{"\r", "\\x0D"}, Control{"\b\x7F", "\\x08\\x7F"},
                                         Control{"\xC2\x9B"
                                                 "2J",
                                                 "\\xC2\\x9B2J"}));

TEST(TerminalTextTest, ASequenceWithoutEndIsNotKeptForEver) {
  const std::string digits(1000, '1');
  EXPECT_EQ(shown({"\x1B[" + digits, digits + "m"}), "\\x1B[" + digits + digits + "m");
}

TEST(TerminalTextTest, WhatIsNoUtf8IsVisible) { EXPECT_EQ(shown({"a\xFFz"}), "a\\xFFz"); }

}  // namespace
}  // namespace wicket::companion
