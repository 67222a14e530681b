// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "protocol/HelperFile.h"

namespace wicket {
namespace {

using namespace std::string_view_literals;
using testing::ElementsAre;
using testing::IsEmpty;

std::string times(std::size_t count, std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < count; ++i) result += text;
  return result;
}

TEST(SanitizeTest, ANameOrARelativePathWithoutIllegalCharactersComesBackUnchanged) {
  EXPECT_EQ(HelperFile::sanitize("name.sh"), "name.sh");
  EXPECT_EQ(HelperFile::sanitize("dir/name.sh"), "dir/name.sh");
}

TEST(SanitizeTest, SurroundingSpacesAreTrimmedAway) { EXPECT_EQ(HelperFile::sanitize("  name.sh "), "name.sh"); }

TEST(SanitizeTest, ANameWithAQuestionMarkIsTheTextAfterIt) { EXPECT_EQ(HelperFile::sanitize("a?b.sh"), "b.sh"); }

TEST(SanitizeTest, ANameThatEndsInAnIllegalCharacterIsTheTextBeforeIt) { EXPECT_EQ(HelperFile::sanitize("a?"), "a"); }

TEST(SanitizeTest, ANameThatEndsInAnIllegalCharacterAndASpaceIsThereButEmpty) {
  EXPECT_EQ(HelperFile::sanitize("a? "), std::optional<std::string>(""));
}

TEST(SanitizeTest, AnEmptyStringAndOneOfOnlyIllegalCharactersAreNone) {
  EXPECT_EQ(HelperFile::sanitize(""), std::nullopt);
  EXPECT_EQ(HelperFile::sanitize("??"), std::nullopt);
  EXPECT_EQ(HelperFile::sanitize("\"#%;<>?[\\]^`{|}"), std::nullopt);
}

TEST(SanitizeTest, AStringOf1024BytesIsProcessedAndOneOf1025IsNone) {
  EXPECT_EQ(HelperFile::sanitize(std::string(1024, 'a')), std::string(1024, 'a'));
  EXPECT_EQ(HelperFile::sanitize(std::string(1025, 'a')), std::nullopt);
}

TEST(SanitizeTest, TwoByteCharactersCountTwice) {
  // U+00A0 is white space, so 511 of them and a name of two letters are that name.
  EXPECT_EQ(HelperFile::stringLengthInBytes(times(512, "\u00A0")), 1024U);
  EXPECT_EQ(HelperFile::sanitize(times(511, "\u00A0") + "ab"), "ab");
  EXPECT_EQ(HelperFile::sanitize(times(512, "\u00A0") + "a"), std::nullopt);
  EXPECT_EQ(HelperFile::sanitize(times(512, "\u00A0")), std::optional<std::string>(""));
}

TEST(SanitizeTest, BytesThatAreNotTextAreNone) {
  EXPECT_EQ(HelperFile::sanitize("a\xFF.sh"), std::nullopt);
  EXPECT_EQ(HelperFile::sanitize(std::string(5000, '\xFF')), std::nullopt);
}

TEST(SanitizeTest, EveryWorkedExampleHasItsResult) {
  struct Example {
    std::string_view input;
    std::optional<std::string> result;
  };
  const std::vector<Example> examples{
      {"name.sh", "name.sh"},
      {"dir/name.sh", "dir/name.sh"},
      {" a b.sh ", "a b.sh"},
      {"a?b.sh", "b.sh"},
      {"a?", "a"},
      {"a? ", ""},
      {"a?\u00A0", ""},
      {"", std::nullopt},
      {"??", std::nullopt},
      {"#x", "x"},
      {"x#", "x"},
      {"a\0b.sh"sv, "b.sh"},
      {"a\nb.sh", "a\nb.sh"},
      {"a\u2028b", "a\u2028b"},
      {"a%20b.sh", "20b.sh"},
      {"x;y.sh", "y.sh"},
      {"a[1].sh", ".sh"},
      {"a\\b.sh", "b.sh"},
      {"~/x.sh", "~/x.sh"},
      {"../x", "../x"},
      {"caf\u00E9.sh", ".sh"},
      {"cafe\u0301.sh", ".sh"},
      {"\U0001F600run.sh", "run.sh"},
      {"\u200Bname.sh\u200B", "name.sh"},
      {"a\u200Bb.sh", "a\u200Bb.sh"},
      {"\uFEFFrun.sh", "run.sh"},
      {"a\u180Eb", "b"},
      {"a\ab", "b"},
  };
  for (const auto& [input, result] : examples) {
    EXPECT_EQ(HelperFile::sanitize(input), result) << testing::PrintToString(input);
  }
}

TEST(ComponentsTest, TextWithSpacesAndEmptyPiecesYieldsTheTrimmedOnes) {
  EXPECT_THAT(HelperFile::components(" a, b,,c , ", ","), ElementsAre("a", "b", "c", ""));
  EXPECT_THAT(HelperFile::components("a, b,,c ,", ","), ElementsAre("a", "b", "c"));
}

TEST(ComponentsTest, APieceOfOneSpaceSurvivesAsAnEmptyString) {
  EXPECT_THAT(HelperFile::components("a, ,b", ","), ElementsAre("a", "", "b"));
  EXPECT_THAT(HelperFile::components(" ", ","), ElementsAre(""));
}

TEST(ComponentsTest, NothingButSeparatorsYieldsNothing) {
  EXPECT_THAT(HelperFile::components(",", ","), IsEmpty());
  EXPECT_THAT(HelperFile::components("", ","), IsEmpty());
}

TEST(ComponentsTest, AnySeparatorStringSeparates) {
  EXPECT_THAT(HelperFile::components("a::b:c", "::"), ElementsAre("a", "b:c"));
}

TEST(StringLengthInBytesTest, TheLengthIsThatOfTheUtf8Encoding) {
  EXPECT_EQ(HelperFile::stringLengthInBytes(""), 0U);
  EXPECT_EQ(HelperFile::stringLengthInBytes("abc"), 3U);
  EXPECT_EQ(HelperFile::stringLengthInBytes("\u00E9"), 2U);
  EXPECT_EQ(HelperFile::stringLengthInBytes("\U0001F600"), 4U);
}

TEST(StringLengthInBytesTest, BytesThatAreNotTextHaveNoLength) {
  EXPECT_EQ(HelperFile::stringLengthInBytes("abc\xFF"), 0U);
}

TEST(IllegalSetTest, SlashesDotsAndBlanksAreLegalAndEverythingUnusualIsNot) {
  const CharacterSet& set = HelperFile::illegalSet();
  for (const char32_t legal : U"/. ~,:@\t\n"sv) EXPECT_FALSE(set.contains(legal)) << static_cast<unsigned>(legal);
  for (const char32_t illegal : U"\0\x1C;%?#\"\\\x7F\u00E9\uFEFF\U0001F600\U0010FFFF"sv) {
    EXPECT_TRUE(set.contains(illegal)) << static_cast<unsigned>(illegal);
  }
}

TEST(IllegalSetTest, ItIsBuiltOnceAndKept) { EXPECT_EQ(&HelperFile::illegalSet(), &HelperFile::illegalSet()); }

}  // namespace
}  // namespace wicket
