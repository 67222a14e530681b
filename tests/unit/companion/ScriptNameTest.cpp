// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gtest/gtest.h>
#include <string>

#include "base/text/DisplayText.h"
#include "companion/CleanUp.h"
#include "companion/ScriptName.h"

namespace wicket::companion {
namespace {

std::string causeFor(std::string_view name) {
  const auto problem = problemWithNewName(name);
  return problem ? problem->cause : "";
}

TEST(ScriptNameTest, APlainFileNameIsFine) {
  for (const char* name : {"job.sh", "my job.py", "-x", "a+b=c~d", ".hidden", "..sh", "(1)!"}) {
    EXPECT_EQ(causeFor(name), "") << name;
  }
}

TEST(ScriptNameTest, ANameThatLeadsOutOfTheFolderIsRefusedForEveryOperation) {
  for (const char* name : {".", "..", "a/b", "/a", "../a", "a/"}) {
    EXPECT_TRUE(problemWithBareName(name)) << name;
    EXPECT_TRUE(problemWithNewName(name)) << name;
  }
}

TEST(ScriptNameTest, AnEmptyNameIsRefused) { EXPECT_TRUE(problemWithBareName("")); }

TEST(ScriptNameTest, ControlCharactersAndLineBreaksAreRefused) {
  using namespace std::string_view_literals;
  for (const std::string_view name : {"a\nb"sv, "a\0b"sv, "\t"sv, "a\x7F"sv, "a\xC2\x85"sv, "a\xE2\x80\xA8z"sv}) {
    EXPECT_TRUE(problemWithBareName(name));
  }
  EXPECT_EQ(problemWithBareName("a\nb")->cause, "The name \"a\\x0Ab\" contains the control character U+000A");
}

TEST(ScriptNameTest, ANameOf255BytesIsTheLongest) {
  EXPECT_FALSE(problemWithBareName(std::string(255, 'a')));
  EXPECT_TRUE(problemWithBareName(std::string(256, 'a')));
  EXPECT_TRUE(problemWithBareName(std::string(4096, 'a')));
}

TEST(ScriptNameTest, ANameThatIsNotUtf8IsRefused) {
  for (const char* name : {"\xFF", "a\xC3", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80"}) {
    EXPECT_TRUE(problemWithBareName(name));
  }
}

TEST(ScriptNameTest, AnInstalledNameThatIsNotCleanCanStillBeRunAndRemoved) {
  for (const char* name : {"caf\xC3\xA9.sh", "a,b.sh", "a#b", " a"}) {
    EXPECT_FALSE(problemWithBareName(name)) << name;
    EXPECT_TRUE(problemWithNewName(name)) << name;
  }
}

TEST(ScriptNameTest, TheReasonNamesTheCharacterThatTheHelperWouldNotKeep) {
  EXPECT_EQ(causeFor("a#b.sh"), "The name \"a#b.sh\" contains '#', which the helper does not keep in a name");
  EXPECT_EQ(causeFor("a,b"), "The name \"a,b\" contains ',', which the helper does not keep in a name");
  EXPECT_EQ(causeFor("caf\xC3\xA9"),
            "The name \"caf\xC3\xA9\" contains U+00E9, which the helper does not keep in a name");
  EXPECT_EQ(causeFor("a "), "The name \"a \" begins or ends with white space, which the helper trims away");
}

TEST(CleanUpTest, ExactlyTheCharactersOfAUrlPathSurviveAmongTheVisibleOnesOfAscii) {
  std::string surviving;
  for (char character = '!'; character <= '~'; ++character) {
    if (clean_up::survives(std::string("/x") + character + "y")) surviving += character;
  }
  EXPECT_EQ(surviving, "!$&'()*+-./0123456789:=@ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz~");
}

TEST(CleanUpTest, WhiteSpaceSurvivesInsideAPathButNotAtItsEnds) {
  EXPECT_TRUE(clean_up::survives("/a b\n\xC2\xA0/\xE2\x80\x8Bz"));
  EXPECT_FALSE(clean_up::survives("/a "));
  EXPECT_FALSE(clean_up::survives("/a\xE2\x80\x8B"));
  EXPECT_FALSE(clean_up::survives("\n/a"));
}

TEST(CleanUpTest, APathOf1024BytesIsTheLongest) {
  EXPECT_TRUE(clean_up::survives(std::string(1024, 'a')));
  EXPECT_FALSE(clean_up::survives(std::string(1025, 'a')));
  EXPECT_FALSE(clean_up::survives(""));
}

TEST(Utf8Test, AQuotedTextCannotMoveTheCursor) {
  EXPECT_EQ(quotedText("a\033[2Jb\xFF\xC2\x9B"), "\"a\\x1B[2Jb\\xFF\\xC2\\x9B\"");
}

}  // namespace
}  // namespace wicket::companion
