// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "codesign/plist/WrittenValue.h"

namespace wicket::codesign {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> elementsIn(std::string_view text) {
  std::vector<std::string> elements;
  for (const WrittenValue& value : WrittenValue::allIn(text)) elements.emplace_back(value.element);
  return elements;
}

bool isInteger(const std::string& content) {
  return WrittenValue{"integer", {}, "<integer>" + content + "</integer>"}.isInteger();
}

TEST(WrittenValueTest, IntegersAndDatesAreFoundWithTheirKeys) {
  const auto values = WrittenValue::allIn(
      "<plist><dict><key>a</key><integer> 1\n</integer><key>b</key><array><string>2</string><date>3</date>"
      "<integer/></array></dict></plist>");
  ASSERT_EQ(values.size(), 3U);
  EXPECT_EQ(values[0].key, "a");
  EXPECT_EQ(values[0].content(), "1");
  EXPECT_EQ(values[1].key, "b");
  EXPECT_EQ(values[1].name, "date");
  EXPECT_EQ(values[1].content(), "3");
  EXPECT_EQ(values[2].element, "<integer/>");
  EXPECT_EQ(values[2].content(), "");
}

TEST(WrittenValueTest, WhatIsInACommentOrATextIsNoElement) {
  EXPECT_THAT(
      elementsIn(
          "<!-- <a> <integer>1</integer> --><string><![CDATA[<a> <date>2</date>]]></string><integer>3</integer>"),
      ElementsAre("<integer>3</integer>"));
  EXPECT_THAT(elementsIn("<integers>1</integers><dates/>"), IsEmpty());
}

TEST(WrittenValueTest, AnElementReachesToItsOwnEnd) {
  EXPECT_THAT(elementsIn("<integer a=\"b\">1<!-- - -->2</integer ><date>3</date>"),
              ElementsAre("<integer a=\"b\">1<!-- - -->2</integer >", "<date>3</date>"));
}

TEST(WrittenValueTest, ATextThatBreaksOffHasNoMoreThanItHolds) {
  for (const std::string_view text : {"", "<", "<!-- ", "<![CDATA[", "<key", "<key>", "</"}) {
    EXPECT_THAT(elementsIn(text), IsEmpty()) << text;
  }
  for (const std::string text : {"<integer", "<integer>", "<integer>1", "<integer>1<", "<integer>1</integer"}) {
    EXPECT_THAT(elementsIn(text), ElementsAre(text));
  }
}

TEST(WrittenValueTest, AnIntegerIsWhat64BitsHold) {
  for (const char* content : {"0", "-1", "+1", " 7\n", "0x10", "-9223372036854775808", "18446744073709551615"}) {
    EXPECT_TRUE(isInteger(content)) << content;
  }
  for (const char* content :
       {"", " ", "-", "--1", "1 2", "1x", "1.0", "-9223372036854775809", "18446744073709551616"}) {
    EXPECT_FALSE(isInteger(content)) << content;
  }
}

}  // namespace
}  // namespace wicket::codesign
