// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <vector>

#include "base/text/Utf8.h"

namespace wicket {
namespace {

using namespace std::string_view_literals;

TEST(Utf8Test, WellFormedTextIsValidWithItsNulsAndNoncharactersAndByteOrderMarks) {
  for (const auto text : {""sv, "plain"sv, "caf\xC3\xA9"sv, "\xE2\x80\x8B"sv, "\xF0\x9F\x98\x80"sv, "a\0b"sv,
                          "\xEF\xBB\xBF#!"sv, "\xEF\xBF\xBF"sv, "\xED\x9F\xBF"sv, "\xEE\x80\x80"sv,
                          "\xF4\x8F\xBF\xBF"sv, "\xC2\x80"sv, "\xE0\xA0\x80"sv, "\xF0\x90\x80\x80"sv}) {
    EXPECT_TRUE(Utf8::isValid(text)) << testing::PrintToString(text);
  }
}

TEST(Utf8Test, MalformedBytesAreNotValid) {
  const std::vector<std::string_view> malformed{
      "\x80"sv,              // a continuation byte alone
      "\xC3"sv,              // truncated
      "\xE2\x80"sv,          // truncated
      "\xF0\x9F\x98"sv,      // truncated
      "\xC3(",               // no continuation byte
      "\xC0\xAF"sv,          // overlong "/"
      "\xC1\xBF"sv,          // overlong
      "\xE0\x9F\xBF"sv,      // overlong
      "\xF0\x8F\xBF\xBF"sv,  // overlong
      "\xED\xA0\x80"sv,      // a surrogate
      "\xED\xBF\xBF"sv,      // a surrogate
      "\xF4\x90\x80\x80"sv,  // above the last scalar
      "\xF5\x80\x80\x80"sv,  // no lead byte
      "\xFE"sv,              // never a byte of UTF-8
      "\xFF"sv,
      "good\xFFgood"sv,
  };
  for (const auto text : malformed) EXPECT_FALSE(Utf8::isValid(text)) << testing::PrintToString(text);
}

TEST(Utf8Test, TheFirstCharacterHasItsValueAndLength) {
  struct Case {
    std::string_view text;
    char32_t value;
    std::size_t length;
  };
  for (const auto& [text, value, length] :
       {Case{"a"sv, U'a', 1}, Case{"\xC3\xA9x"sv, 0xE9, 2}, Case{"\xE2\x80\x8B"sv, 0x200B, 3},
        Case{"\xF0\x9F\x98\x80!"sv, 0x1F600, 4}, Case{"\0"sv, 0, 1}}) {
    const Utf8::Scalar scalar = Utf8::first(text);
    EXPECT_TRUE(scalar.isValid);
    EXPECT_EQ(scalar.value, value);
    EXPECT_EQ(scalar.length, length);
  }
}

TEST(Utf8Test, AByteThatBeginsNoCharacterIsPassedAsOneReplacementCharacter) {
  for (const auto text : {"\xFFrest"sv, "\xE2\x80"sv, "\xED\xA0\x80"sv}) {
    const Utf8::Scalar scalar = Utf8::first(text);
    EXPECT_FALSE(scalar.isValid);
    EXPECT_EQ(scalar.value, char32_t{0xFFFD});
    EXPECT_EQ(scalar.length, 1U);
  }
}

TEST(Utf8Test, TheBeginningOfACharacterAtTheEndIsUnfinished) {
  for (const auto text : {"\xC3"sv, "\xE2"sv, "\xF0"sv, "text\xF4"sv}) EXPECT_EQ(Utf8::unfinishedLength(text), 1U);
  for (const auto text : {"\xE0\xA0"sv, "\xED\x9F"sv, "\xEE\x80"sv, "\xF0\x90"sv, "text\xF4\x8F"sv}) {
    EXPECT_EQ(Utf8::unfinishedLength(text), 2U) << testing::PrintToString(text);
  }
  for (const auto text : {"\xF0\x9F\x98"sv, "text\xF4\x8F\xBF"sv}) EXPECT_EQ(Utf8::unfinishedLength(text), 3U);
}

TEST(Utf8Test, NothingIsUnfinishedAfterAWholeCharacter) {
  for (const auto text : {""sv, "a"sv, "caf\xC3\xA9"sv, "\xE2\x82\xAC"sv, "\xF0\x9F\x98\x80"sv}) {
    EXPECT_EQ(Utf8::unfinishedLength(text), 0U) << testing::PrintToString(text);
  }
}

TEST(Utf8Test, BytesThatBeginNoCharacterAreNotUnfinished) {
  for (const auto text :
       {"\x80"sv, "\xBF\xBF\xBF"sv, "\xBF\xBF\xBF\xBF"sv, "\xC0"sv, "\xC1"sv, "\xF5"sv, "\xFF"sv, "\xFE\x80"sv}) {
    EXPECT_EQ(Utf8::unfinishedLength(text), 0U) << testing::PrintToString(text);
  }
}

TEST(Utf8Test, OverlongFormsSurrogatesAndNumbersBeyondTheLastPlaneAreNotUnfinished) {
  for (const auto text : {"\xE0\x80"sv, "\xE0\x9F"sv, "\xED\xA0"sv, "\xED\xBF"sv, "\xF0\x80"sv, "\xF0\x8F\xBF"sv,
                          "\xF4\x90"sv, "\xF4\xBF\xBF"sv}) {
    EXPECT_EQ(Utf8::unfinishedLength(text), 0U) << testing::PrintToString(text);
  }
}

/// Tries the bytes at which the rules change.
bool canBecomeACharacter(const std::string& begin) {
  if (begin.size() == 4) return false;
  return std::ranges::any_of("\x80\x90\xA0\xBF"sv, [&begin](char next) {
    const std::string longer = begin + next;
    return Utf8::first(longer).length == longer.size() || canBecomeACharacter(longer);
  });
}

TEST(Utf8Test, WhatFurtherBytesMakeACharacterIsUnfinishedAndNothingElse) {
  for (unsigned first = 0; first < 256; ++first) {
    for (const char second : "\x7F\x80\x8F\x90\x9F\xA0\xBF\xC0\xC2\xE0\xED\xF0\xF4\xF5"sv) {
      const std::string text{static_cast<char>(first), second};
      const std::size_t expected = canBecomeACharacter(text) ? 2 : canBecomeACharacter(text.substr(1)) ? 1 : 0;
      EXPECT_EQ(Utf8::unfinishedLength(text), expected) << testing::PrintToString(text);
    }
  }
}

}  // namespace
}  // namespace wicket
