// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "base/text/CharacterSet.h"

namespace wicket {
namespace {

/// Every member, found by asking for all scalars.
std::u32string membersOf(const CharacterSet& set) {
  std::u32string members;
  for (char32_t scalar = 0; scalar <= 0x10FFFF; ++scalar) {
    if (set.contains(scalar)) members.push_back(scalar);
  }
  return members;
}

TEST(CharacterSetTest, WhatMayStandInAUrlsPathIsExactly79AsciiCharacters) {
  EXPECT_EQ(membersOf(CharacterSet::urlPathAllowed()),
            U"!$&'()*+,-./0123456789:=@ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz~");
  EXPECT_EQ(membersOf(CharacterSet::urlPathAllowed()).size(), 79U);
}

TEST(CharacterSetTest, TheBlanksOfAShebangLineAreTabAndTheSpaceSeparatorsWithoutZeroWidthSpace) {
  const std::u32string expected{0x09,   0x20,   0xA0,   0x1680, 0x2000, 0x2001, 0x2002, 0x2003, 0x2004,
                                0x2005, 0x2006, 0x2007, 0x2008, 0x2009, 0x200A, 0x202F, 0x205F, 0x3000};
  EXPECT_EQ(membersOf(CharacterSet::tabAndSpaceSeparators()), expected);
}

TEST(CharacterSetTest, TheWhiteSpaceThatIsTrimmedHasZeroWidthSpaceToo) {
  std::u32string expected = membersOf(CharacterSet::tabAndSpaceSeparators());
  expected.insert(expected.find(char32_t{0x202F}), 1, char32_t{0x200B});
  EXPECT_EQ(membersOf(CharacterSet::whitespaces()), expected);
}

TEST(CharacterSetTest, TheNewlinesAreSeven) {
  EXPECT_EQ(membersOf(CharacterSet::newlines()), (std::u32string{0x0A, 0x0B, 0x0C, 0x0D, 0x85, 0x2028, 0x2029}));
}

TEST(CharacterSetTest, WhiteSpaceAndNewlinesAreBothSetsTogether) {
  for (char32_t scalar = 0; scalar <= 0x10FFFF; ++scalar) {
    ASSERT_EQ(CharacterSet::whitespacesAndNewlines().contains(scalar),
              CharacterSet::whitespaces().contains(scalar) || CharacterSet::newlines().contains(scalar));
  }
}

TEST(CharacterSetTest, AUnionHasTheMembersOfBothThoughTheyOverlapOrTouch) {
  const CharacterSet set = CharacterSet{{U'c', U'f'}, {U'a', U'b'}}.united(CharacterSet{{U'e', U'h'}, {U'x', U'x'}});
  EXPECT_EQ(membersOf(set), U"abcdefghx");
}

TEST(CharacterSetTest, AnInvertedSetHasEveryOtherScalarUpToTheLast) {
  const CharacterSet inverted = CharacterSet{{0, U'`'}, {U'b', U'y'}}.inverted();
  EXPECT_FALSE(inverted.contains(0));
  EXPECT_TRUE(inverted.contains(U'a'));
  EXPECT_FALSE(inverted.contains(U'b'));
  EXPECT_TRUE(inverted.contains(U'z'));
  EXPECT_TRUE(inverted.contains(0x10FFFF));
  EXPECT_EQ(membersOf(inverted).size(), 1 + 0x110000 - static_cast<std::size_t>(U'z'));
}

TEST(CharacterSetTest, TheComplementOfEverythingIsEmpty) {
  EXPECT_TRUE(membersOf(CharacterSet{{0, 0x10FFFF}}.inverted()).empty());
}

}  // namespace
}  // namespace wicket
