// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gtest/gtest.h>
#include <limits>
#include <stdexcept>
#include <string>

#include "codesign/plist/PropertyValue.h"

namespace wicket::codesign {
namespace {

std::string list(const std::string& content) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + content + "</plist>\n";
}

std::string nested(int levels) {
  std::string text;
  for (int level = 0; level < levels; ++level) {
    text = "<array>" + text + "</array>";
  }
  return list(text);
}

template <typename Type>
Type valueIn(const std::string& content) {
  const auto value = PropertyValue::fromXml(list(content));
  return value && value->as<Type>() != nullptr ? *value->as<Type>() : throw std::runtime_error(content);
}

TEST(PropertyValueTest, EachKindIsReadAsItself) {
  EXPECT_TRUE(valueIn<bool>("<true/>"));
  EXPECT_FALSE(valueIn<bool>("<false/>"));
  EXPECT_EQ(valueIn<std::int64_t>("<integer>1</integer>"), 1);
  EXPECT_EQ(valueIn<std::int64_t>("<integer>-7</integer>"), -7);
  EXPECT_EQ(valueIn<double>("<real>0.5</real>"), 0.5);
  EXPECT_EQ(valueIn<std::string>("<string>caf\xC3\xA9 &lt;&amp;</string>"), "caf\xC3\xA9 <&");
  EXPECT_EQ(valueIn<std::string>("<string></string>"), "");
  EXPECT_EQ(valueIn<PropertyData>("<data>AP8=</data>"), (PropertyData{std::byte{0}, std::byte{0xFF}}));
  EXPECT_EQ(valueIn<PropertyArray>("<array><string>a</string><true/></array>"),
            (PropertyArray{PropertyValue("a"), PropertyValue(true)}));
  EXPECT_EQ(valueIn<PropertyDictionary>("<dict><key>k</key><integer>2</integer></dict>"),
            (PropertyDictionary{{"k", PropertyValue(2)}}));
}

TEST(PropertyValueTest, NoKindIsConvertedToAnother) {
  const PropertyValue one(1);
  EXPECT_EQ(one.as<bool>(), nullptr);
  EXPECT_EQ(one.as<double>(), nullptr);
  EXPECT_EQ(one.as<std::string>(), nullptr);
  EXPECT_EQ(one.as<PropertyDictionary>(), nullptr);
  EXPECT_FALSE(one == PropertyValue(true));
  EXPECT_FALSE(one == PropertyValue(1.0));
}

TEST(PropertyValueTest, OfAKeyThatIsThereTwiceTheLastValueCounts) {
  EXPECT_EQ(valueIn<PropertyDictionary>("<dict><key>k</key><true/><key>k</key><false/></dict>"),
            (PropertyDictionary{{"k", PropertyValue(false)}}));
}

TEST(PropertyValueTest, WhatIsNoPropertyListInXmlIsRefused) {
  for (const std::string& text : {std::string(), std::string("text"), list(""), list("<dict><key>k</key>"),
                                  std::string("bplist00\x08\x00\x00", 11), std::string("<plist>")}) {
    EXPECT_FALSE(PropertyValue::fromXml(text)) << text;
  }
}

constexpr char date[] = "<date>2026-01-31T12:00:00Z</date>";
constexpr char greatestInteger[] = "<integer>18446744073709551615</integer>";

TEST(PropertyValueTest, ADateIsReadAsAnotherKindWhereverItStands) {
  EXPECT_EQ(valueIn<PropertyOther>(date).element, date);
  EXPECT_EQ(valueIn<PropertyDictionary>(std::string("<dict><key>k</key><true/><key>l</key><array><dict><key>m</key>") +
                                        date + "</dict></array></dict>"),
            (PropertyDictionary{{"k", PropertyValue(true)},
                                {"l", PropertyValue(PropertyArray{PropertyValue(
                                          PropertyDictionary{{"m", PropertyValue(PropertyOther{date})}})})}}));
}

TEST(PropertyValueTest, AnIntegerBeyond63BitsIsReadAsAnotherKind) {
  EXPECT_EQ(valueIn<PropertyOther>(greatestInteger).element, greatestInteger);
  EXPECT_EQ(valueIn<PropertyOther>("<integer>9223372036854775808</integer>").element,
            "<integer>9223372036854775808</integer>");
  EXPECT_EQ(valueIn<std::int64_t>("<integer>9223372036854775807</integer>"), std::numeric_limits<std::int64_t>::max());
}

TEST(PropertyValueTest, ANegativeIntegerIsReadAsItselfDownToTheSmallest) {
  EXPECT_EQ(valueIn<std::int64_t>("<integer>-1</integer>"), -1);
  EXPECT_EQ(valueIn<std::int64_t>("<integer>\n -1 </integer>"), -1);
  EXPECT_EQ(valueIn<std::int64_t>("<integer>-9223372036854775808</integer>"), std::numeric_limits<std::int64_t>::min());
}

TEST(PropertyValueTest, WhatTheLibraryWouldMakeAnotherIntegerOfIsNone) {
  for (const char* content :
       {"-9223372036854775809", "-18446744073709551615", "\n-18446744073709551615 ", "-99999999999999999999",
        "-0xFFFFFFFFFFFFFFFF", "99999999999999999999", "--1", "one", "1x", "", "<![CDATA[-18446744073709551615]]>",
        "-<!-- -->18446744073709551615", "<!-- -->-18446744073709551615"}) {
    const std::string element = "<integer>" + std::string(content) + "</integer>";
    EXPECT_EQ(valueIn<PropertyOther>(element).element, greatestInteger) << content;
    EXPECT_EQ(valueIn<PropertyArray>("<array><integer>3</integer>" + element + "<true/></array>"),
              (PropertyArray{PropertyValue(3), PropertyValue(PropertyOther{greatestInteger}), PropertyValue(true)}))
        << content;
  }
  EXPECT_EQ(valueIn<PropertyOther>("<integer kind=\"x\">-18446744073709551615</integer>").element, greatestInteger);
}

TEST(PropertyValueTest, WhatLooksLikeAnIntegerInACommentOrATextIsNone) {
  EXPECT_EQ(valueIn<PropertyArray>("<array><!-- <a> <integer> --><integer>1</integer><!-- </integer> --></array>"),
            (PropertyArray{PropertyValue(1)}));
  EXPECT_EQ(valueIn<std::string>("<string><![CDATA[<a><integer>x</integer>]]></string>"), "<a><integer>x</integer>");
}

TEST(PropertyValueTest, NestingHasALimit) {
  EXPECT_TRUE(PropertyValue::fromXml(nested(PropertyValue::deepestNesting + 1)));
  EXPECT_EQ(PropertyValue::fromXml(nested(PropertyValue::deepestNesting + 2)).error().message,
            "the property list is nested too deeply");
  EXPECT_FALSE(PropertyValue::fromXml(nested(4000)));
}

TEST(PropertyValueTest, LengthHasALimit) {
  const std::size_t frame = list("<string></string>").size();
  const auto ofLength = [&](std::size_t length) {
    return PropertyValue::fromXml(list("<string>" + std::string(length - frame, 'x') + "</string>"));
  };
  EXPECT_TRUE(ofLength(PropertyValue::longestText));
  EXPECT_EQ(ofLength(PropertyValue::longestText + 1).error().message, "the property list is longer than 65536 bytes");
}

TEST(PropertyValueTest, WhatIsWrittenIsReadAsTheSameValue) {
  const PropertyValue value(PropertyDictionary{
      {"text", PropertyValue("<&> caf\xC3\xA9")},
      {"yes", PropertyValue(true)},
      {"smallest", PropertyValue(std::numeric_limits<std::int64_t>::min())},
      {"greatest", PropertyValue(std::numeric_limits<std::int64_t>::max())},
      {"half", PropertyValue(-0.5)},
      {"data", PropertyValue(PropertyData(100, std::byte{0xFE}))},
      {"minus", PropertyValue(-1)},
      {"date", PropertyValue(PropertyOther{date})},
      {"beyond", PropertyValue(PropertyOther{greatestInteger})},
      {"list", PropertyValue(PropertyArray{PropertyValue(PropertyArray{}), PropertyValue(PropertyDictionary{})})}});
  const auto again = PropertyValue::fromXml(value.toXml());
  ASSERT_TRUE(again) << value.toXml();
  EXPECT_TRUE(*again == value) << value.toXml();
  EXPECT_EQ(again->toXml(), value.toXml());
}

}  // namespace
}  // namespace wicket::codesign
