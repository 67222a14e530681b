// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gtest/gtest.h>

#include "codesign/signature/CodeDirectory.h"
#include "tests/unit/codesign/SignedFiles.h"

namespace wicket::codesign {
namespace {

PropertyDictionary entries() {
  PropertyDictionary dictionary;
  dictionary.emplace("identifier", PropertyValue("net.orvane.Wicket"));
  dictionary.emplace("flags", PropertyValue(0x10000));
  dictionary.emplace("entitlements", PropertyValue(PropertyDictionary{}));
  dictionary.emplace("digest-algorithm", PropertyValue("sha256"));
  dictionary.emplace("digest", PropertyValue(PropertyData(32, std::byte{0xAB})));
  dictionary.emplace("length", PropertyValue(4711));
  return dictionary;
}

std::expected<CodeDirectory, SigningFailure> parsed(const PropertyDictionary& dictionary) {
  return CodeDirectory::fromPropertyList(bytesOf(PropertyValue(dictionary).toXml()));
}

std::expected<CodeDirectory, SigningFailure> parsedWith(const std::string& key, PropertyValue value) {
  PropertyDictionary dictionary = entries();
  dictionary.insert_or_assign(key, std::move(value));
  return parsed(dictionary);
}

void expectMalformed(const std::string& key, const PropertyValue& value) {
  const auto directory = parsedWith(key, value);
  ASSERT_FALSE(directory) << key;
  EXPECT_EQ(directory.error(), SigningFailure::codeDirectoryMalformed) << key;
}

TEST(CodeDirectoryTest, EverythingSurvivesTheRoundTrip) {
  CodeDirectory directory{"net.orvane.Wicket", 0xFFFFFFFF, PropertyDictionary{}, {}, std::uint64_t{1} << 62};
  directory.digest.fill(std::byte{0x5A});
  directory.entitlements->emplace("a.b", PropertyValue(true));
  EXPECT_EQ(CodeDirectory::fromPropertyList(directory.toPropertyList().value()), directory);
  directory.entitlements.reset();
  EXPECT_EQ(CodeDirectory::fromPropertyList(directory.toPropertyList().value()), directory);
}

TEST(CodeDirectoryTest, NoEntitlementsAreSomethingElseThanAnEmptyDictionary) {
  PropertyDictionary without = entries();
  without.erase("entitlements");
  EXPECT_FALSE(parsed(without).value().entitlements.has_value());
  EXPECT_TRUE(parsed(entries()).value().entitlements.has_value());
}

TEST(CodeDirectoryTest, EachMissingEntryIsAnError) {
  for (const char* key : {"identifier", "flags", "digest-algorithm", "digest", "length"}) {
    PropertyDictionary dictionary = entries();
    ASSERT_EQ(dictionary.erase(key), 1U);
    const auto directory = parsed(dictionary);
    ASSERT_FALSE(directory) << key;
    EXPECT_EQ(directory.error(), SigningFailure::codeDirectoryMalformed) << key;
  }
}

TEST(CodeDirectoryTest, EachEntryOfAWrongTypeIsAnError) {
  for (const char* key : {"identifier", "flags", "entitlements", "digest-algorithm", "digest", "length"}) {
    expectMalformed(key, PropertyValue(true));
    expectMalformed(key, PropertyValue(1.0));
    expectMalformed(key, PropertyValue(PropertyArray{}));
  }
  expectMalformed("flags", PropertyValue("65536"));
  expectMalformed("digest", PropertyValue(std::string(32, 'x')));
}

TEST(CodeDirectoryTest, ValuesOutOfTheirRangeAreErrors) {
  expectMalformed("flags", PropertyValue(-1));
  expectMalformed("flags", PropertyValue(std::int64_t{1} << 32));
  expectMalformed("length", PropertyValue(-1));
  expectMalformed("digest", PropertyValue(PropertyData(31)));
  expectMalformed("digest", PropertyValue(PropertyData(33)));
  expectMalformed("identifier", PropertyValue(""));
  expectMalformed("identifier", PropertyValue(std::string(256, 'x')));
  EXPECT_TRUE(parsedWith("identifier", PropertyValue(std::string(255, 'x'))));
}

TEST(CodeDirectoryTest, AnUnknownDigestAlgorithmIsAnErrorOfItsOwn) {
  EXPECT_EQ(parsedWith("digest-algorithm", PropertyValue("sha1")).error(), SigningFailure::digestAlgorithmUnknown);
  EXPECT_EQ(parsedWith("digest-algorithm", PropertyValue("SHA256")).error(), SigningFailure::digestAlgorithmUnknown);
}

TEST(CodeDirectoryTest, EntitlementsMayHoldADateAndAnIntegerBeyond63Bits) {
  const PropertyDictionary entitlements{
      {"date", PropertyValue(PropertyOther{"<date>2026-01-31T12:00:00Z</date>"})},
      {"beyond", PropertyValue(PropertyOther{"<integer>18446744073709551615</integer>"})}};
  const auto directory = parsedWith("entitlements", PropertyValue(entitlements));
  ASSERT_TRUE(directory);
  EXPECT_EQ(directory->entitlements, entitlements);
}

TEST(CodeDirectoryTest, AnUnknownEntryIsAnError) { expectMalformed("Flags", PropertyValue(0)); }

TEST(CodeDirectoryTest, WhatIsNoPropertyListInXmlIsAnError) {
  const std::string tooLong = PropertyValue(entries()).toXml() + std::string(PropertyValue::longestText, ' ');
  for (const std::string& text : {std::string(), std::string("bplist00\xA0"), std::string("<plist>"),
                                  PropertyValue(PropertyArray{}).toXml(), tooLong}) {
    EXPECT_EQ(CodeDirectory::fromPropertyList(bytesOf(text)).error(), SigningFailure::codeDirectoryMalformed) << text;
  }
}

TEST(CodeDirectoryTest, OnlyAnIdentifierThatIsReadBackIsWritten) {
  for (const std::string& identifier : {std::string(), std::string(256, 'x'), std::string("a\0b", 3)}) {
    EXPECT_FALSE((CodeDirectory{identifier, 0, std::nullopt, {}, 0}).toPropertyList());
  }
}

}  // namespace
}  // namespace wicket::codesign
