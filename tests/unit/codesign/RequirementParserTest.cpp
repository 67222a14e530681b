// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>

#include "codesign/requirement/RequirementLexer.h"
#include "codesign/requirement/RequirementParser.h"
#include "tests/unit/codesign/RequirementText.h"

namespace wicket::codesign {
namespace {

using namespace std::string_literals;
using namespace requirement;

const std::string hash40 = "0123456789abcdefABCDEF0123456789abcdef01";

/// How the parser understood @p text, or "error: " and its message.
std::string meaningOf(const std::string& text) {
  const auto parsed = RequirementParser::parse(text);
  return parsed ? requirementText(*parsed) : "error: " + parsed.error().text();
}

/// The parser's message for @p text, which must be no requirement.
std::string errorOf(const std::string& text) {
  const auto parsed = RequirementParser::parse(text);
  return parsed ? "no error: " + requirementText(*parsed) : parsed.error().text();
}

RequirementExpression parsed(const std::string& text) {
  auto result = RequirementParser::parse(text);
  if (!result) {
    throw std::runtime_error(text + ": " + result.error().text());
  }
  return std::move(*result);
}

template <typename Node>
Node nodeOf(const std::string& text) {
  return std::get<Node>(parsed(text).node);
}

std::string repeated(const std::string& text, int count) {
  std::string result;
  for (int index = 0; index < count; ++index) {
    result += text;
  }
  return result;
}

TEST(RequirementParserTest, AndBindsTighterThanOr) {
  EXPECT_EQ(parsed("always or never and legacy and notarized"), parsed("always or (never and legacy and notarized)"));
  EXPECT_NE(parsed("always or never and legacy"), parsed("(always or never) and legacy"));
  EXPECT_EQ(nodeOf<Any>("always or never and legacy or notarized").operands.size(), 3U);
}

TEST(RequirementParserTest, NotBindsTighterThanAnd) {
  EXPECT_EQ(parsed("! always and never"), parsed("(!always) and never"));
  EXPECT_NE(parsed("! always and never"), parsed("!(always and never)"));
  EXPECT_EQ(*nodeOf<Not>("!!legacy").operand, parsed("!legacy"));
}

TEST(RequirementParserTest, ParenthesesChangeNothingWhereTheyAreNotNeeded) {
  EXPECT_EQ(parsed("((((always))))"), parsed("always"));
}

TEST(RequirementParserTest, EveryWordForAConstantIsOne) {
  EXPECT_TRUE(nodeOf<Constant>("always").value);
  EXPECT_TRUE(nodeOf<Constant>("true").value);
  EXPECT_FALSE(nodeOf<Constant>("never").value);
  EXPECT_FALSE(nodeOf<Constant>("false").value);
}

TEST(RequirementParserTest, AnIdentifierMayHaveAnEqualsSignBeforeIt) {
  for (const char* text : {"identifier a.b", "identifier = a.b", "identifier == a.b", "identifier \"a.b\"",
                           "identifier=\"a.b\"", "identifier\n\t=  a.b"}) {
    EXPECT_EQ(nodeOf<Identifier>(text).value, "a.b") << text;
  }
}

TEST(RequirementParserTest, WhatForeignFormatsAskForIsUnderstood) {
  EXPECT_EQ(nodeOf<CodeDirectoryHash>("cdhash H\"" + hash40 + "\"").digest[1], std::byte{0x23});
  EXPECT_EQ(nodeOf<CodeDirectoryHash>("cdhash = H\"" + hash40 + "\"").digest[9], std::byte{0xCD});
  EXPECT_EQ(nodeOf<requirement::Platform>("platform = 14").value, 14);
  EXPECT_EQ(nodeOf<requirement::Platform>("platform 14").value, 14);
  EXPECT_EQ(meaningOf("notarized or legacy"), "notarized or legacy");
}

TEST(RequirementParserTest, TextAloneInParenthesesIsTheNameOfARequirement) {
  EXPECT_EQ(nodeOf<NamedRequirement>("(developers)").name, "developers");
  EXPECT_EQ(nodeOf<NamedRequirement>("(\"and so on\")").name, "and so on");
  EXPECT_EQ(errorOf("(developers and always)"),
            "1:13: expected \")\" behind the name of a requirement, found the keyword \"and\"");
}

TEST(RequirementParserTest, TheFormsOfAnAppleAnchor) {
  EXPECT_EQ(meaningOf("anchor apple"), "anchor apple");
  EXPECT_EQ(meaningOf("anchor apple generic"), "anchor apple generic");
  EXPECT_EQ(meaningOf("anchor generic apple"), "anchor apple generic");
  EXPECT_EQ(nodeOf<NamedAnchor>("anchor apple mobile").name, "mobile");
  EXPECT_EQ(nodeOf<NamedAnchor>("anchor apple \"generic\"").name, "generic");
}

TEST(RequirementParserTest, TheFormsOfTrust) {
  for (const char* text : {"certificate trusted", "cert trusted", "anchor trusted"}) {
    EXPECT_EQ(meaningOf(text), "certificate trusted") << text;
  }
  EXPECT_EQ(nodeOf<CertificateTrusted>("cert 1 trusted").slot, 1);
  EXPECT_EQ(nodeOf<CertificateTrusted>("certificate root trusted").slot, -1);
}

TEST(RequirementParserTest, ASlotCountsFromTheLeafOrWithAMinusFromTheRoot) {
  const auto slotOf = [](const std::string& slot) {
    return nodeOf<CertificateMatch>("certificate " + slot + "[subject.CN]").slot;
  };
  EXPECT_EQ(slotOf("leaf"), 0);
  EXPECT_EQ(slotOf("0"), 0);
  EXPECT_EQ(slotOf("1"), 1);
  EXPECT_EQ(slotOf("007"), 7);
  EXPECT_EQ(slotOf("root"), -1);
  EXPECT_EQ(slotOf("-1"), -1);
  EXPECT_EQ(slotOf("- 2"), -2);
  EXPECT_EQ(slotOf("2147483647"), 2147483647);
}

TEST(RequirementParserTest, AnAnchorIsTheRootsCertificate) {
  EXPECT_EQ(parsed("anchor[subject.CN] = x"), parsed("certificate root[subject.CN] = x"));
  EXPECT_EQ(parsed("anchor = H\"" + hash40 + "\""), parsed("cert -1 H\"" + hash40 + "\""));
  EXPECT_EQ(parsed("anchor H\"" + hash40 + "\""), parsed("cert -1 == H\"" + hash40 + "\""));
}

TEST(RequirementParserTest, TheKindsOfCertificateKeys) {
  const auto keyOf = [](const std::string& key) { return nodeOf<CertificateMatch>("certificate leaf[" + key + "]"); };
  EXPECT_EQ(keyOf("subject.CN").field, CertificateMatch::Field::subject);
  EXPECT_EQ(keyOf("subject.CN").name, "CN");
  EXPECT_EQ(keyOf("field.1.2.840.113635.100.6.1.9").field, CertificateMatch::Field::extension);
  EXPECT_EQ(keyOf("field.1.2.840.113635.100.6.1.9").name, "1.2.840.113635.100.6.1.9");
  EXPECT_EQ(keyOf("extension.1.2"), keyOf("field.1.2"));
  EXPECT_EQ(keyOf("\"field.1.2\""), keyOf("field.1.2"));
  EXPECT_EQ(keyOf("policy.1.2").field, CertificateMatch::Field::policy);
  EXPECT_EQ(keyOf("timestamp.1.2").field, CertificateMatch::Field::timestamp);
}

TEST(RequirementParserTest, OtherCertificateKeysAreRefused) {
  for (const char* key : {"email", "CN", "subject", "subjectCN", "issuer.CN", "\"\"", "Subject.CN"}) {
    EXPECT_EQ(errorOf("certificate leaf["s + key + "] = x"),
              "1:18: expected a key that begins with \"subject.\", \"field.\", \"extension.\", \"policy.\" or "
              "\"timestamp.\"")
        << key;
  }
}

TEST(RequirementParserTest, AKeyThatNeedsAnObjectIdentifierIsRefusedWithoutOne) {
  for (const char* prefix : {"field.", "extension.", "policy.", "timestamp."}) {
    for (const char* name : {"x", "1", "3.1", "1.2.x"}) {
      EXPECT_EQ(errorOf("cert leaf["s + prefix + name + "]"),
                "1:11: expected a dotted object identifier behind \""s + prefix + "\"");
    }
  }
  EXPECT_NE(errorOf("cert leaf[\"field.\"]").find("object identifier"), std::string::npos);
}

TEST(RequirementParserTest, InformationAndEntitlementsTakeAnyKey) {
  const auto info = nodeOf<DictionaryMatch>("info[CFBundleVersion] >= \"2.0\"");
  EXPECT_EQ(info.source, DictionaryMatch::Source::info);
  EXPECT_EQ(info.key, "CFBundleVersion");
  const auto entitlement = nodeOf<DictionaryMatch>("entitlement[\"com.apple.security.get-task-allow\"] exists");
  EXPECT_EQ(entitlement.source, DictionaryMatch::Source::entitlement);
  EXPECT_EQ(entitlement.key, "com.apple.security.get-task-allow");
}

TEST(RequirementParserTest, TheFormsOfAMatch) {
  const auto matchOf = [](const std::string& match) { return nodeOf<DictionaryMatch>("info[k]" + match).match; };
  const auto match = [](Comparison comparison, const std::string& value) { return Match{comparison, value, false}; };
  EXPECT_EQ(matchOf(""), match(Comparison::exists, ""));
  EXPECT_EQ(matchOf(" exists"), match(Comparison::exists, ""));
  EXPECT_EQ(matchOf(" absent"), match(Comparison::absent, ""));
  EXPECT_EQ(matchOf("=v"), match(Comparison::equal, "v"));
  EXPECT_EQ(matchOf(" == \"v w\""), match(Comparison::equal, "v w"));
  EXPECT_EQ(matchOf(" = *v"), match(Comparison::endsWith, "v"));
  EXPECT_EQ(matchOf(" = v*"), match(Comparison::beginsWith, "v"));
  EXPECT_EQ(matchOf(" = *v*"), match(Comparison::contains, "v"));
  EXPECT_EQ(matchOf("~v"), match(Comparison::contains, "v"));
  EXPECT_EQ(matchOf(" < v"), match(Comparison::less, "v"));
  EXPECT_EQ(matchOf(" > v"), match(Comparison::greater, "v"));
  EXPECT_EQ(matchOf(" <= v"), match(Comparison::lessOrEqual, "v"));
  EXPECT_EQ(matchOf(" >= v"), match(Comparison::greaterOrEqual, "v"));
  EXPECT_EQ(matchOf(" = 0x41ff"), match(Comparison::equal, "A\xFF"));
}

TEST(RequirementParserTest, TimestampsAreUnderstood) {
  for (const char* comparison : {"=", "<", ">", "<=", ">="}) {
    const auto match =
        nodeOf<DictionaryMatch>("info[k] "s + comparison + " timestamp \"2026-01-01 00:00:00 +0000\"").match;
    EXPECT_TRUE(match.isTimestamp) << comparison;
    EXPECT_EQ(match.value, "2026-01-01 00:00:00 +0000");
  }
  EXPECT_EQ(errorOf("info[k] = timestamp 2026"),
            "1:21: expected a time, found the number 2026; text that begins with a digit must be quoted");
}

TEST(RequirementParserTest, ACommentMeansNothing) {
  const auto expected = parsed("always and certificate leaf[field.1.2]");
  EXPECT_EQ(parsed("# first\nalways// second\nand certificate/* third */leaf[field.1.2] /* exists */"), expected);
  EXPECT_EQ(parsed("always and certificate leaf[field.1.2] // absent"), expected);
  EXPECT_EQ(parsed("always and certificate leaf[field.1.2]# absent"), expected);
  EXPECT_EQ(parsed("/**/always /* \" */ and/*\r\xC3\xA9*/certificate leaf[field.1.2]"), expected);
}

TEST(RequirementParserTest, CommentsOfSeveralLinesDoNotNest) {
  EXPECT_EQ(meaningOf("/* a /* b */ always"), "always");
  EXPECT_EQ(errorOf("/* a /* b */ always */"), "1:22: \"/\" begins nothing that can stand here");
}

TEST(RequirementParserTest, AnAsteriskInACommentTakesTheNextCharacterAlong) {
  EXPECT_EQ(errorOf("always /* **/"), "1:8: the comment does not end");
  EXPECT_EQ(errorOf("always /***/"), "1:8: the comment does not end");
  EXPECT_EQ(meaningOf("always /* ***/"), "always");
  EXPECT_EQ(meaningOf("always /* **/ */"), "always");
}

TEST(RequirementParserTest, ACommentThatDoesNotEndIsAnErrorAtItsBeginning) {
  EXPECT_EQ(errorOf("always\n  /* never"), "2:3: the comment does not end");
  EXPECT_EQ(errorOf("always /*/"), "1:8: the comment does not end");
  EXPECT_EQ(errorOf("always /* *"), "1:8: the comment does not end");
}

TEST(RequirementParserTest, SemicolonsMayEndARequirementAndNothingMayFollow) {
  EXPECT_EQ(meaningOf("always;"), "always");
  EXPECT_EQ(meaningOf("always ;; ; # done"), "always");
  EXPECT_EQ(errorOf("always; never"), "1:9: expected the end, found the keyword \"never\"");
  EXPECT_EQ(errorOf("always never"), "1:8: expected \"and\", \"or\" or the end, found the keyword \"never\"");
  EXPECT_EQ(errorOf("always)"), "1:7: expected \"and\", \"or\" or the end, found \")\"");
}

TEST(RequirementParserTest, ATextWithoutAConditionIsNoRequirement) {
  EXPECT_EQ(errorOf(""), "1:1: expected a condition, found the end");
  EXPECT_EQ(errorOf(" \n # nothing\n"), "3:1: expected a condition, found the end");
  EXPECT_EQ(errorOf(";"), "1:1: expected a condition, found \";\"");
  EXPECT_EQ(errorOf("()"), "1:2: expected a condition, found \")\"");
  EXPECT_EQ(errorOf("always and"), "1:11: expected a condition, found the end");
  EXPECT_EQ(errorOf("or always"), "1:1: expected a condition, found the keyword \"or\"");
  EXPECT_EQ(errorOf("always or and"), "1:11: expected a condition, found the keyword \"and\"");
  EXPECT_EQ(errorOf("! "), "1:3: expected a condition, found the end");
  EXPECT_EQ(errorOf("somebody"), "1:1: expected a condition, found \"somebody\"");
  EXPECT_EQ(errorOf("\"text\""), "1:1: expected a condition, found text in quotes");
}

TEST(RequirementParserTest, AParenthesisMustBeClosed) {
  EXPECT_EQ(errorOf("(always"), "1:8: expected \"and\", \"or\" or \")\", found the end");
  EXPECT_EQ(errorOf("(always or (never)"), "1:19: expected \"and\", \"or\" or \")\", found the end");
}

TEST(RequirementParserTest, KeywordsAreCaseSensitive) {
  EXPECT_EQ(errorOf("Always"), "1:1: expected a condition, found \"Always\"");
  EXPECT_EQ(nodeOf<Identifier>("identifier Leaf").value, "Leaf");
}

TEST(RequirementParserTest, AnUnquotedKeywordIsNeverText) {
  for (const char* keyword :
       {"absent",      "always",    "anchor", "and",      "apple",      "cdhash",    "cert", "certificate",
        "entitlement", "exists",    "false",  "generic",  "identifier", "info",      "leaf", "legacy",
        "never",       "notarized", "or",     "platform", "root",       "timestamp", "true", "trusted"}) {
    EXPECT_EQ(errorOf("identifier "s + keyword), "1:12: expected an identifier, found the keyword \""s + keyword +
                                                     "\"; a keyword must be quoted to be text");
    EXPECT_EQ(nodeOf<Identifier>("identifier \""s + keyword + "\"").value, keyword);
    EXPECT_EQ(nodeOf<Identifier>("identifier "s + keyword + ".x").value, keyword + ".x"s);
    EXPECT_TRUE(RequirementLexer::isKeyword(keyword));
  }
}

TEST(RequirementParserTest, ATeamIdentifierThatBeginsWithADigitMustBeQuoted) {
  EXPECT_EQ(errorOf("certificate leaf[subject.OU] = 9ABCDE1234"),
            "1:32: expected a value, found the number 9; text that begins with a digit must be quoted");
  EXPECT_EQ(nodeOf<CertificateMatch>("certificate leaf[subject.OU] = \"9ABCDE1234\"").match.value, "9ABCDE1234");
  EXPECT_EQ(nodeOf<CertificateMatch>("certificate leaf[subject.OU] = A9BCDE1234").match.value, "A9BCDE1234");
}

TEST(RequirementParserTest, UnquotedTextIsMadeOfLettersDigitsAndDots) {
  EXPECT_EQ(nodeOf<Identifier>("identifier a1.b2.3.c").value, "a1.b2.3.c");
  EXPECT_EQ(errorOf("identifier a-b"), "1:13: expected \"and\", \"or\" or the end, found \"-\"");
  EXPECT_EQ(errorOf("identifier a_b"), "1:13: \"_\" begins nothing that can stand here");
  EXPECT_EQ(errorOf("identifier a b"), "1:14: expected \"and\", \"or\" or the end, found \"b\"");
  EXPECT_EQ(errorOf("identifier a.1b"), "1:15: expected \"and\", \"or\" or the end, found \"b\"");
  EXPECT_EQ(errorOf("identifier caf\xC3\xA9"), "1:15: the byte 0xC3 begins nothing that can stand here");
  EXPECT_EQ(errorOf("identifier .a"), "1:12: \".\" begins nothing that can stand here");
}

TEST(RequirementParserTest, ADotMustBeFollowedByALetterOrADigit) {
  EXPECT_EQ(errorOf("identifier a."), "1:14: expected a letter or a digit behind the dot of \"a.\"");
  EXPECT_EQ(errorOf("identifier a..b"), "1:14: expected a letter or a digit behind the dot of \"a.\"");
  EXPECT_EQ(errorOf("identifier a. b"), "1:14: expected a letter or a digit behind the dot of \"a.\"");
  EXPECT_EQ(errorOf("identifier a .b"), "1:14: \".\" begins nothing that can stand here");
}

TEST(RequirementParserTest, InQuotesOnlyADoubleQuoteCanBeEscaped) {
  EXPECT_EQ(nodeOf<Identifier>(R"(identifier "a\"b")").value, "a\"b");
  EXPECT_EQ(errorOf(R"(identifier "a\nb")"),
            "1:14: expected a double quote behind the backslash: nothing else can be escaped");
  EXPECT_EQ(errorOf(R"(identifier "a\\")"),
            "1:14: expected a double quote behind the backslash: nothing else can be escaped");
  EXPECT_EQ(errorOf("identifier \"a\\"),
            "1:14: expected a double quote behind the backslash: nothing else can be escaped");
  EXPECT_EQ(errorOf(R"(identifier "a\")"), "1:12: the quoted text does not end");
}

TEST(RequirementParserTest, InQuotesAnyOtherCharacterStandsForItself) {
  const std::string text = "\r\n\t'#//*/ ;\x01\x7F caf\xC3\xA9 \xF0\x9F\x90\x8D" + "\0x"s;
  EXPECT_EQ(nodeOf<Identifier>("identifier \"" + text + "\"").value, text);
  EXPECT_EQ(nodeOf<Identifier>("identifier \"\"").value, "");
}

TEST(RequirementParserTest, BytesThatNoUtf8HasAreRefusedWhereverTheyStand) {
  EXPECT_EQ(errorOf("identifier \"a\xC0\""), "1:14: the byte 0xC0 is no part of UTF-8");
  EXPECT_EQ(errorOf("identifier \"\xC1\""), "1:13: the byte 0xC1 is no part of UTF-8");
  EXPECT_EQ(errorOf("always\n# \xF5"), "2:3: the byte 0xF5 is no part of UTF-8");
  EXPECT_EQ(errorOf("always /* \xFF */"), "1:11: the byte 0xFF is no part of UTF-8");
  EXPECT_EQ(meaningOf("identifier \"\xF4\x8F\xBF\xBF\""), "identifier \"\xF4\x8F\xBF\xBF\"");
}

TEST(RequirementParserTest, QuotesMustBeClosed) {
  EXPECT_EQ(errorOf("always and\n identifier \"a\n"), "2:13: the quoted text does not end");
}

TEST(RequirementParserTest, ACarriageReturnIsNoWhiteSpace) {
  EXPECT_EQ(errorOf("always\r\nand always"), "1:7: the byte 0x0D begins nothing that can stand here");
  EXPECT_EQ(meaningOf("always\t\n and always"), "always and always");
  EXPECT_EQ(errorOf("always\v"), "1:7: the byte 0x0B begins nothing that can stand here");
  EXPECT_EQ(errorOf("always\0"s), "1:7: the byte 0x00 begins nothing that can stand here");
  EXPECT_EQ(errorOf("always\xC2\xA0"), "1:7: the byte 0xC2 begins nothing that can stand here");
}

TEST(RequirementParserTest, ColumnsCountCharacters) {
  EXPECT_EQ(errorOf("identifier \"caf\xC3\xA9 \xF0\x9F\x90\x8D\" ?"), "1:21: \"?\" begins nothing that can stand here");
}

TEST(RequirementParserTest, AHashHasFortyHexadecimalDigits) {
  EXPECT_EQ(errorOf("cdhash H\"0123\""), "1:8: expected a hash of 40 hexadecimal digits, found one of 4");
  EXPECT_EQ(errorOf("anchor = H\"" + hash40 + "00\""),
            "1:10: expected a hash of 40 hexadecimal digits, found one of 42");
  EXPECT_EQ(errorOf("cdhash H\"012\""), "1:13: expected one more hexadecimal digit: two make a byte");
  EXPECT_EQ(errorOf("cdhash H\"\""), "1:10: expected hexadecimal digits");
  EXPECT_EQ(errorOf("cdhash H\"01"), "1:12: expected a hexadecimal digit or the double quote that ends the hash");
  EXPECT_EQ(errorOf("cdhash H\"01 \""), "1:12: expected a hexadecimal digit or the double quote that ends the hash");
  EXPECT_EQ(errorOf("cdhash \"" + hash40 + "\""), "1:8: expected a hash H\"...\", found text in quotes");
  EXPECT_EQ(errorOf("cdhash h\"" + hash40 + "\""), "1:8: expected a hash H\"...\", found \"h\"");
}

TEST(RequirementParserTest, AHexadecimalValueHasTwoDigitsForEachByte) {
  EXPECT_EQ(errorOf("info[k] = 0x"), "1:13: expected hexadecimal digits");
  EXPECT_EQ(errorOf("info[k] = 0x123"), "1:16: expected one more hexadecimal digit: two make a byte");
  EXPECT_EQ(errorOf("identifier 0x41"), "1:12: expected an identifier, found a hexadecimal value");
  EXPECT_EQ(errorOf("info[k] = 0X41"),
            "1:11: expected a value, found the number 0; text that begins with a digit must be quoted");
}

TEST(RequirementParserTest, ACertificateNeedsASlotAndACondition) {
  EXPECT_EQ(errorOf("certificate"),
            "1:12: expected \"trusted\", \"leaf\", \"root\" or the number of a certificate, found the end");
  EXPECT_EQ(errorOf("cert anchor trusted"),
            "1:6: expected \"trusted\", \"leaf\", \"root\" or the number of a "
            "certificate, found the keyword \"anchor\"");
  EXPECT_EQ(errorOf("cert leaf"), "1:10: expected \"trusted\", a key in brackets or a hash H\"...\", found the end");
  EXPECT_EQ(errorOf("cert leaf = \"path\""), "1:13: expected a hash H\"...\", found text in quotes");
  EXPECT_EQ(errorOf("cert - leaf trusted"), "1:8: expected a number behind \"-\", found the keyword \"leaf\"");
  EXPECT_EQ(errorOf("cert 2147483648 trusted"), "1:6: the number 2147483648 is too large");
  EXPECT_EQ(errorOf("cert -99999999999999999999 trusted"), "1:7: the number 99999999999999999999 is too large");
}

TEST(RequirementParserTest, AnAnchorNeedsACondition) {
  EXPECT_EQ(errorOf("anchor"),
            "1:7: expected \"apple\", \"generic\", \"trusted\", a key in brackets or a hash H\"...\", found the end");
  EXPECT_EQ(errorOf("anchor generic"), "1:15: expected \"apple\", found the end");
  EXPECT_EQ(errorOf("anchor ="), "1:9: expected a hash H\"...\", found the end");
}

TEST(RequirementParserTest, AKeyStandsInBrackets) {
  EXPECT_EQ(errorOf("info key"), "1:6: expected \"[\", found \"key\"");
  EXPECT_EQ(errorOf("info[]"), "1:6: expected a key, found \"]\"");
  EXPECT_EQ(errorOf("info[a.b"), "1:9: expected \"]\", found the end");
  EXPECT_EQ(errorOf("entitlement[get-task-allow]"), "1:16: expected \"]\", found \"-\"");
  EXPECT_EQ(errorOf("info[leaf]"),
            "1:6: expected a key, found the keyword \"leaf\"; a keyword must be quoted to be text");
}

TEST(RequirementParserTest, AMatchNeedsItsValue) {
  EXPECT_EQ(errorOf("info[k] ="), "1:10: expected a value, found the end");
  EXPECT_EQ(errorOf("info[k] = *"), "1:12: expected a value behind \"*\", found the end");
  EXPECT_EQ(errorOf("info[k] ~ *"), "1:11: expected a value behind \"~\", found \"*\"");
  EXPECT_EQ(errorOf("info[k] < = v"), "1:11: expected a value, found \"=\"");
  EXPECT_EQ(errorOf("info[k] <"), "1:10: expected a value, found the end");
  EXPECT_EQ(errorOf("info[k] = true"),
            "1:11: expected a value, found the keyword \"true\"; a keyword must be quoted to be text");
  EXPECT_EQ(errorOf("info[k] = v**"), "1:13: expected \"and\", \"or\" or the end, found \"*\"");
  EXPECT_EQ(errorOf("platform = x"), "1:12: expected the number of a platform, found \"x\"");
  EXPECT_EQ(errorOf("platform = -1"), "1:12: expected the number of a platform, found \"-\"");
}

TEST(RequirementParserTest, AThousandLevelsAreTheDeepestNesting) {
  EXPECT_EQ(meaningOf(repeated("(", 1000) + "always" + repeated(")", 1000)), "always");
  EXPECT_EQ(errorOf(repeated("(", 1001) + "always" + repeated(")", 1001)), "1:1001: nested more than 1000 levels deep");
  EXPECT_EQ(meaningOf(repeated("!", 1000) + "always"), repeated("!", 1000) + "always");
  EXPECT_EQ(errorOf(repeated("!", 1001) + "always"), "1:1001: nested more than 1000 levels deep");
  EXPECT_EQ(meaningOf("((always)) and " + repeated("(", 999) + "never" + repeated(")", 999)), "always and never");
}

TEST(RequirementParserTest, HostileNestingNeitherOverflowsTheStackNorTakesLong) {
  EXPECT_EQ(errorOf(repeated("(", 1'000'000)), "1:1001: nested more than 1000 levels deep");
  EXPECT_EQ(errorOf(repeated("(!", 1'000'000)), "1:1001: nested more than 1000 levels deep");
}

TEST(RequirementParserTest, ALongRowOfConditionsIsNoNesting) {
  EXPECT_EQ(nodeOf<All>("always" + repeated(" and always", 100'000)).operands.size(), 100'001U);
}

TEST(RequirementParserTest, NamesTheLineOfAnErrorInATextOfSeveral) {
  const auto error = RequirementParser::parse("always\n  and identifier leaf").error();
  EXPECT_EQ(error.position, (RequirementPosition{2, 18}));
  EXPECT_TRUE(error.text().starts_with("2:18: ")) << error.text();
}

TEST(RequirementTextTest, WhatItWritesIsReadAsTheSameRequirement) {
  const std::string hash = "H\"" + hash40 + "\"";
  for (const std::string& text :
       {"always or never and legacy or !notarized"s,
        "(always or never) and !(legacy and notarized) and (cdhash " + hash + ")",
        "anchor apple and anchor apple generic and anchor apple \"x\\\"y\" and (\"named one\")"s,
        "certificate 2 trusted or anchor trusted or anchor = " + hash + " or cert -3 " + hash,
        "cert leaf[subject.CN] = *\"a b\"* and cert 1[field.1.2.3] and cert root[policy.1.2] absent"s,
        "cert leaf[timestamp.1.2] >= timestamp \"2026\" and platform = 7"s,
        "info[a] = 0x5c and info[b] = 0xff00* and info[c] = *0x00 and info[\"d-e\"] < \"1a\""s,
        "entitlement[x] <= a and entitlement[x] > b and entitlement[x] >= c and entitlement[x] ~ d"s,
        "(always and never) and (always or (never or legacy))"s}) {
    const auto expression = parsed(text);
    EXPECT_EQ(parsed(requirementText(expression)), expression) << requirementText(expression);
  }
}

TEST(RequirementTextTest, WritesNoParenthesesButThoseThatMatter) {
  EXPECT_EQ(meaningOf("((always) or ((never) and (legacy)))"), "always or never and legacy");
  EXPECT_EQ(meaningOf("(always or never) and legacy"), "(always or never) and legacy");
}

}  // namespace
}  // namespace wicket::codesign
