// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "base/text/StringPieces.h"

namespace wicket {
namespace {

using testing::ElementsAre;

TEST(StringPiecesTest, AdjacentSeparatorsAndThoseAtTheEndsGiveEmptyPieces) {
  EXPECT_THAT(StringPieces::separatedBy(",", ",a,,b,"), ElementsAre("", "a", "", "b", ""));
  EXPECT_THAT(StringPieces::separatedBy(CharacterSet::newlines(), "\n"), ElementsAre("", ""));
}

TEST(StringPiecesTest, ATextWithoutASeparatorIsOnePieceEvenWhenItIsEmpty) {
  EXPECT_THAT(StringPieces::separatedBy(",", "whole"), ElementsAre("whole"));
  EXPECT_THAT(StringPieces::separatedBy(",", ""), ElementsAre(""));
  EXPECT_THAT(StringPieces::separatedBy(CharacterSet::newlines(), ""), ElementsAre(""));
}

TEST(StringPiecesTest, AnEmptySeparatorSeparatesNothing) {
  EXPECT_THAT(StringPieces::separatedBy("", "whole"), ElementsAre("whole"));
}

TEST(StringPiecesTest, ASeparatorOfSeveralCharactersIsTakenAsAWhole) {
  EXPECT_THAT(StringPieces::separatedBy("--", "a--b-c---d"), ElementsAre("a", "b-c", "-d"));
}

TEST(StringPiecesTest, EachMemberOfASetSeparatesOnItsOwn) {
  EXPECT_THAT(StringPieces::separatedBy(CharacterSet::newlines(), "a\r\nb\u2028c"), ElementsAre("a", "", "b", "c"));
}

TEST(StringPiecesTest, ASetSeparatesWholeCharactersAndNeverPartsOfThem) {
  const CharacterSet grin{{0x1F600, 0x1F600}};
  EXPECT_THAT(StringPieces::separatedBy(grin, "a\U0001F600b\U0001F601c"), ElementsAre("a", "b\U0001F601c"));
}

TEST(StringPiecesTest, TheFirstPieceEndsBeforeTheFirstSeparator) {
  EXPECT_EQ(StringPieces::firstSeparatedBy(CharacterSet::newlines(), "one\ntwo\nthree"), "one");
  EXPECT_EQ(StringPieces::firstSeparatedBy(CharacterSet::newlines(), "\none"), "");
  EXPECT_EQ(StringPieces::firstSeparatedBy(CharacterSet::newlines(), "only"), "only");
  EXPECT_EQ(StringPieces::firstSeparatedBy(CharacterSet::newlines(), ""), "");
}

TEST(StringPiecesTest, TrimmingTakesMembersFromBothEndsAndLeavesThoseInside) {
  const CharacterSet& set = CharacterSet::whitespacesAndNewlines();
  EXPECT_EQ(StringPieces::trimmed(" \t\u00A0a b\u3000\n", set), "a b");
  EXPECT_EQ(StringPieces::trimmed("a", set), "a");
  EXPECT_EQ(StringPieces::trimmed(" \n ", set), "");
  EXPECT_EQ(StringPieces::trimmed("", set), "");
  EXPECT_EQ(StringPieces::trimmed("e\u0301", set), "e\u0301");
}

TEST(StringPiecesTest, BytesThatAreNotTextAreKeptAsTheyAre) {
  EXPECT_THAT(StringPieces::separatedBy(CharacterSet::newlines(), "\xFF\n\xE2\x80"), ElementsAre("\xFF", "\xE2\x80"));
  EXPECT_EQ(StringPieces::trimmed(" \xFF\xC3 ", CharacterSet::whitespaces()), "\xFF\xC3");
}

}  // namespace
}  // namespace wicket
